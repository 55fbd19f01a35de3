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
            foreach (Type type in assembly.GetExportedTypes())
            {
                types.Add("  " + ReflectedText.KindOf(type) + " " + ReflectedText.NameOf(type));
                HasItsMembersListed(type);
            }
            Harness.True(types.Count >= leastCount, library + " has " + types.Count + " public types");
            types.Sort(string.CompareOrdinal);
            List<string> listed = Asked("Types()");
            Harness.Equal("  " + types.Count + " public types", TakeLast(listed), library);
            AreSame(types, listed, library);
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
            Harness.Equal("  " + expected.Count + " public member" + (expected.Count == 1 ? "" : "s"), TakeLast(listed), name);
            listed.RemoveAt(0);
            AreSame(expected, listed, name);
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

        private static string TakeLast(List<string> lines)
        {
            string last = lines[lines.Count - 1];
            lines.RemoveAt(lines.Count - 1);
            return last;
        }

        // In whatever order, each line as often.
        private static void AreSame(List<string> expected, List<string> listed, string what)
        {
            List<string> missing = new List<string>(expected);
            foreach (string line in listed)
            {
                if (!missing.Remove(line))
                    Harness.True(false, what + ": should not be listed: " + line);
            }
            foreach (string line in missing)
                Harness.True(false, what + ": is not listed: " + line);
        }
    }
}
