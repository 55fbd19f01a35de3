using System;
using System.Collections.Generic;
using System.Reflection;
using OrvWorkBench;

namespace OrvTest
{
    // Whole libraries that nobody here has written, listed by commands, line by line as reflection has them. What is
    // expected is made without the dispatcher's classes: names of types out of those that the runtime prints.
    internal static class LibraryTests
    {
        private const BindingFlags c_public = BindingFlags.Public | BindingFlags.Instance | BindingFlags.Static | BindingFlags.FlattenHierarchy;

        private static readonly Dictionary<Type, Dictionary<RuntimeMethodHandle, MethodInfo>> s_accessors =
            new Dictionary<Type, Dictionary<RuntimeMethodHandle, MethodInfo>>();

        public static void SystemXml() { IsListedWhole("System.Xml", 300); }
        public static void SystemCore() { IsListedWhole("System.Core", 190); }
        public static void SystemConfiguration() { IsListedWhole("System.Configuration", 100); }
        public static void SystemSecurity() { IsListedWhole("System.Security", 60); }
        public static void MonoSecurity() { IsListedWhole("Mono.Security", 140); }
        public static void SharpZipLib() { IsListedWhole("ICSharpCode.SharpZipLib", 60); }
        public static void MonoDebuggerSoft() { IsListedWhole("Mono.Debugger.Soft", 80); }
        public static void MicrosoftCSharp() { IsListedWhole("Microsoft.CSharp", 5); }
        public static void SystemNumerics() { IsListedWhole("System.Numerics", 5); }
        public static void System() { IsListedWhole("System", 900); }
        public static void Mscorlib() { IsListedWhole("mscorlib", 1500); }

        private static void IsListedWhole(string library, int leastCount)
        {
            Bench.Start();
            CInvoke.Reset("");
            Bench.Do("load", library);
            Bench.Printed();
            Assembly assembly = Assembly.Load(library);
            List<string> types = new List<string>();
            List<string> found = new List<string>();
            foreach (Type type in assembly.GetExportedTypes())
            {
                types.Add("  " + ReflectedText.KindOf(type) + " " + ReflectedText.NameOf(type));
                HasItsMembersListed(type);
                foreach (MemberInfo member in MembersOf(type))
                {
                    if (member.DeclaringType == type)
                        found.Add("  " + ReflectedText.Of(member) + (member is Type ? "" : "  // of " + ReflectedText.NameOf(type)));
                }
            }
            Harness.True(types.Count >= leastCount, library + " has " + types.Count + " public types");
            AreSame(types, Asked("Types()"), "public types", library);
            AreSame(found, Asked("Find(\"\")"), "members", library);
        }

        private static void HasItsMembersListed(Type type)
        {
            List<string> expected = new List<string>();
            foreach (MemberInfo member in MembersOf(type))
                expected.Add("  " + ReflectedText.Of(member) +
                             (member is Type || member.DeclaringType == type ? "" : "  // from " + ReflectedText.NameOf(member.DeclaringType)));
            string name = ReflectedText.NameOf(type);
            List<string> listed = Asked("Members(\"" + name + "\")");
            Harness.Equal("  " + ReflectedText.HeadOf(type), listed[0], name);
            listed.RemoveAt(0);
            AreSame(expected, listed, expected.Count == 1 ? "public member" : "public members", name);
        }

        // All that reflection has but for the methods behind properties and events; an interface's include what it inherits.
        private static List<MemberInfo> MembersOf(Type type)
        {
            List<MemberInfo> all = new List<MemberInfo>(type.GetMembers(c_public));
            if (type.IsInterface)
            {
                foreach (Type inherited in type.GetInterfaces())
                    all.AddRange(inherited.GetMembers(c_public));
            }
            all.RemoveAll(IsAccessor);
            return all;
        }

        // Whether a property or an event of its class has the method.
        private static bool IsAccessor(MemberInfo member)
        {
            MethodInfo method = member as MethodInfo;
            return method != null && AccessorsOf(method.DeclaringType).ContainsKey(method.MethodHandle);
        }

        private static Dictionary<RuntimeMethodHandle, MethodInfo> AccessorsOf(Type type)
        {
            Dictionary<RuntimeMethodHandle, MethodInfo> accessors;
            if (s_accessors.TryGetValue(type, out accessors))
                return accessors;
            List<MethodInfo> all = new List<MethodInfo>();
            foreach (PropertyInfo property in type.GetProperties(c_public | BindingFlags.DeclaredOnly))
                all.AddRange(property.GetAccessors());
            foreach (EventInfo raised in type.GetEvents(c_public | BindingFlags.DeclaredOnly))
                all.AddRange(new MethodInfo[] { raised.GetAddMethod(), raised.GetRemoveMethod(), raised.GetRaiseMethod() });
            accessors = new Dictionary<RuntimeMethodHandle, MethodInfo>();
            foreach (MethodInfo accessor in all)
            {
                if (accessor != null)
                    accessors[accessor.MethodHandle] = accessor;
            }
            return s_accessors[type] = accessors;
        }

        private static List<string> Asked(string question)
        {
            Harness.Equal(10, Bench.Do("invoke", "OrvWorkBench.Look." + question), question);
            return new List<string>(Bench.Printed().Split('\n'));
        }

        // In whatever order, each line as often; the last line says how many.
        private static void AreSame(List<string> expected, List<string> listed, string noun, string what)
        {
            expected.Add("  " + expected.Count + " " + noun);
            expected.Sort(string.CompareOrdinal);
            listed.Sort(string.CompareOrdinal);
            int missing = 0;
            int shown = 0;
            while (missing < expected.Count || shown < listed.Count)
            {
                int order = missing == expected.Count ? 1 : shown == listed.Count ? -1 : string.CompareOrdinal(expected[missing], listed[shown]);
                Harness.True(order >= 0, what + ": is not listed: " + (order < 0 ? expected[missing] : ""));
                Harness.True(order <= 0, what + ": should not be listed: " + (order > 0 ? listed[shown] : ""));
                missing += order <= 0 ? 1 : 0;
                shown += order >= 0 ? 1 : 0;
            }
        }
    }
}
