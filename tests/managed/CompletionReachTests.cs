using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;
using OrvWorkBench;

namespace OrvTest
{
    // Every public type and member of whole libraries is offered where it can be named, and nothing else is. What there is
    // comes from reflection alone.
    internal static class CompletionReachTests
    {
        private const BindingFlags c_instance = BindingFlags.Public | BindingFlags.Instance;
        private const BindingFlags c_static = BindingFlags.Public | BindingFlags.Static;

        private static int s_types;
        private static int s_members;

        public static void EverythingOfTheSample()
        {
            Reach(Path.Combine(Harness.Folder, "../../bin/OrvSample.dll"), 3, 50);
        }

        public static void EverythingOfTheTestLibrary()
        {
            Reach(Path.Combine(Harness.Folder, "TestLibrary.dll"), 40, 500);
        }

        public static void EverythingOfTheSystemLibrary()
        {
            Reach("System", 1000, 20000);
        }

        public static void EverythingOfTheXmlLibrary()
        {
            Reach("System.Xml", 200, 4000);
        }

        private static void Reach(string library, int types, int members)
        {
            Bench.Start();
            CInvoke.Reset("");
            CInvoke.LoadAssembly(library);
            Bench.Printed();
            s_types = 0;
            s_members = 0;
            foreach (Type type in Look.At.Assemblies.Loaded[0].GetExportedTypes())
            {
                Type closed = Closed(type);
                if (closed != null)
                    Reach(closed);
            }
            Harness.True(s_types >= types, library + " has " + s_types + " types");
            Harness.True(s_members >= members, library + " has " + s_members + " members");
        }

        private static void Reach(Type type)
        {
            ++s_types;
            string name = TypeNames.Show(type);
            IsOfferedAsAType(type);
            Dictionary<string, bool> names = new Dictionary<string, bool>();
            foreach (MemberInfo member in type.GetMembers(c_static | BindingFlags.FlattenHierarchy))
                Add(names, member);
            OfferExactly(name + ".", names, type, c_static);
            if (type.IsAbstract && type.IsSealed)
                return;
            names.Clear();
            foreach (MemberInfo member in type.GetMembers(c_instance))
            {
                if (!(member is Type))
                    Add(names, member);
            }
            OfferExactly((type.IsValueType ? "new " + name + "()" : "((" + name + ")null)") + ".", names, type, c_instance);
            HintExactly(type, name);
        }

        // The type with simple types for its parameters; null when they do not fit.
        private static Type Closed(Type type)
        {
            if (!type.IsGenericTypeDefinition)
                return type;
            foreach (Type argument in new Type[] { typeof(string), typeof(int), typeof(EventArgs), typeof(Exception), typeof(object) })
            {
                try
                {
                    Type[] arguments = new Type[type.GetGenericArguments().Length];
                    for (int i = 0; i < arguments.Length; ++i)
                        arguments[i] = argument;
                    return type.MakeGenericType(arguments);
                }
                catch (ArgumentException)
                {
                }
            }
            return null;
        }

        private static void IsOfferedAsAType(Type type)
        {
            string full = TypeNames.Show(type);
            string outer = type.DeclaringType == null ? type.Namespace : TypeNames.Show(type.DeclaringType.IsGenericTypeDefinition ? OuterOf(type) : type.DeclaringType);
            if (TypeNames.IsKeyword(full))
                full = type.FullName;
            string bare = type.Name.Split('`')[0];
            string start = string.IsNullOrEmpty(outer) ? "" : outer + ".";
            string text = (WrittenName.Of(bare) ?? bare) + (type.Name.Length > bare.Length ? "<" : "");
            foreach (string command in new string[] { "get ", "get typeof(", "members ", "set using x = ", "types " })
            {
                bool isThere = false;
                foreach (CompletionEntry entry in Completion.Of(Look.At, command + start + bare.Substring(0, 1).ToLowerInvariant()).Entries)
                    isThere = isThere || (entry.Text == text && entry.At == command.Length + start.Length && entry.Kind == KnownTypes.Kind(type));
                Harness.True(isThere, command + start + bare.Substring(0, 1) + " does not offer " + text);
            }
        }

        private static Type OuterOf(Type nested)
        {
            int count = nested.DeclaringType.GetGenericArguments().Length;
            Type[] arguments = new Type[count];
            Array.Copy(nested.GetGenericArguments(), arguments, count);
            return nested.DeclaringType.MakeGenericType(arguments);
        }

        // Members by the text with which they are offered.
        private static void Add(Dictionary<string, bool> names, MemberInfo member)
        {
            MethodInfo method = member as MethodInfo;
            PropertyInfo property = member as PropertyInfo;
            FieldInfo field = member as FieldInfo;
            Type nested = member as Type;
            if (member is ConstructorInfo || (method != null && method.IsSpecialName) || (field != null && field.IsSpecialName) ||
                (property != null && property.GetIndexParameters().Length > 0) || WrittenName.Of(member.Name.Split('`')[0]) == null ||
                (method != null && (method.CallingConvention & CallingConventions.VarArgs) != 0))
                return;
            ++s_members;
            string name = WrittenName.Of(member.Name.Split('`')[0]);
            names[name + (method != null ? "(" : nested != null && nested.Name.Contains("`") ? "<" : "")] = true;
        }

        // With which letters members of the type begin, those of base classes and interfaces included.
        private static string Letters(Type type, BindingFlags flags)
        {
            List<Type> levels = new List<Type>();
            for (Type level = type; level != null; level = level.BaseType)
                levels.Add(level);
            levels.AddRange(type.GetInterfaces());
            string letters = "";
            foreach (Type level in levels)
            {
                foreach (MemberInfo member in level.GetMembers(flags | BindingFlags.DeclaredOnly))
                {
                    string letter = member.Name.Substring(0, 1).ToLowerInvariant();
                    if (WrittenName.Of(letter) != null && !letters.Contains(letter))
                        letters += letter;
                }
            }
            return letters;
        }

        // Whether a command finds what is offered with that text.
        private static bool Binds(Type type, string text, BindingFlags flags)
        {
            string name = text.TrimStart('@').TrimEnd('(', '<');
            if (text.EndsWith("("))
                return Members.FindMethods(type, name, flags).Count > 0;
            return Members.FindData(type, name, flags) != null ||
                   ((flags & BindingFlags.Static) != 0 && ReachableMembers.NestedIn(type).Exists(delegate(Type nested) { return nested.Name.Split('`')[0] == name; }));
        }

        // In set, which takes events and what can only be written too.
        private static void OfferExactly(string target, Dictionary<string, bool> wanted, Type type, BindingFlags flags)
        {
            Dictionary<string, bool> offered = new Dictionary<string, bool>();
            foreach (char letter in Letters(type, flags))
            {
                foreach (CompletionEntry entry in Completion.Of(Look.At, "set " + target + letter).Entries)
                    offered[entry.Text] = true;
            }
            // A method hides what has its name in a base class.
            foreach (string name in wanted.Keys)
                Harness.True(offered.ContainsKey(name) || !Binds(type, name, flags), target + name + " is not offered");
            foreach (string name in offered.Keys)
                Harness.True(wanted.ContainsKey(name) || Binds(type, name, flags), target + name + " is offered but not there");
        }

        private static void HintExactly(Type type, string name)
        {
            bool isDelegate = typeof(Delegate).IsAssignableFrom(type);
            if (!type.IsAbstract && !isDelegate)
            {
                int count = type.GetConstructors(c_instance).Length;
                if (type.IsValueType && type.GetConstructor(Type.EmptyTypes) == null)
                    ++count;
                Harness.Equal(count, Hints("create x = " + name + "(", "constructor"), "constructors of " + name);
                Harness.Equal(count, Hints("invoke t.M(new " + name + "(", "constructor"), "constructors of " + name);
                s_members += count;
            }
            int indexers = 0;
            foreach (MemberInfo member in type.GetDefaultMembers())
            {
                PropertyInfo property = member as PropertyInfo;
                indexers += property != null && property.DeclaringType == type && property.GetIndexParameters().Length > 0 ? 1 : 0;
            }
            if (indexers > 0 && !type.IsValueType)
                Harness.True(Hints("get ((" + name + ")null)[", "indexer") >= indexers, "indexers of " + name);
        }

        private static int Hints(string line, string kind)
        {
            int count = 0;
            foreach (CompletionEntry entry in Completion.Of(Look.At, line).Entries)
                count += entry.Text.Length == 0 && entry.Kind == kind ? 1 : 0;
            return count;
        }
    }
}
