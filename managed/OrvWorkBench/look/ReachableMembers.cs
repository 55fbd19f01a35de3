using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The members that a command may name behind a type or a value, the same ones that Members finds for each name: those
    // of the class, of its base classes and interfaces, without what a nearer member hides. Indexers and operators have no
    // name. Each type is read once.
    internal sealed class ReachableMembers
    {
        private const int c_greatestCount = 200;

        private static readonly Dictionary<Type, List<ShownMember>> s_ofValues = new Dictionary<Type, List<ShownMember>>();
        private static readonly Dictionary<Type, List<ShownMember>> s_ofTypes = new Dictionary<Type, List<ShownMember>>();

        // What goes by one name; "closed" when a nearer class hides what is still to come.
        private sealed class Named
        {
            public MemberInfo Data;
            public bool IsDataClosed;
            public readonly List<MethodInfo> Methods = new List<MethodInfo>();
            public bool AreMethodsClosed;
        }

        // What one level has by one name.
        private sealed class Declared
        {
            public MemberInfo Data;
            public readonly List<MethodInfo> Methods = new List<MethodInfo>();
        }

        private readonly Type m_type;
        private readonly BindingFlags m_flags;
        private readonly Dictionary<string, Named> m_named = new Dictionary<string, Named>();
        private readonly List<string> m_names = new List<string>();

        private ReachableMembers(Type type, BindingFlags flags)
        {
            m_type = type;
            m_flags = flags | BindingFlags.DeclaredOnly;
        }

        // Properties, fields, events and methods of a value of that type.
        public static List<ShownMember> OfValue(Type type)
        {
            return Of(s_ofValues, type, Node.InstanceMembers);
        }

        // The static ones, constants included.
        public static List<ShownMember> OfType(Type type)
        {
            return Of(s_ofTypes, type, Node.StaticMembers);
        }

        // The public nested types, those of base classes included.
        public static List<Type> NestedIn(Type type)
        {
            List<Type> found = new List<Type>();
            for (Type level = type; level != null; level = level.BaseType)
            {
                Type definition = level.IsGenericType ? level.GetGenericTypeDefinition() : level;
                foreach (Type nested in definition.GetNestedTypes(BindingFlags.Public))
                {
                    if (!found.Exists(delegate(Type nearer) { return nearer.Name == nested.Name; }))
                        found.Add(nested);
                }
            }
            return found;
        }

        private static List<ShownMember> Of(Dictionary<Type, List<ShownMember>> known, Type type, BindingFlags flags)
        {
            List<ShownMember> members;
            if (known.TryGetValue(type, out members))
                return members;
            if (known.Count == c_greatestCount)
                known.Clear();
            members = new ReachableMembers(type, flags).Read();
            known.Add(type, members);
            return members;
        }

        private List<ShownMember> Read()
        {
            foreach (Type level in Members.Levels(m_type))
                Guard.Run(delegate() { ReadLevel(level); });
            List<ShownMember> members = new List<ShownMember>();
            foreach (string name in m_names)
            {
                Named named = m_named[name];
                if (named.Data != null)
                    members.Add(new ShownMember(named.Data));
                foreach (MethodInfo method in named.Methods)
                    members.Add(new ShownMember(method));
            }
            return members;
        }

        private void ReadLevel(Type level)
        {
            Dictionary<string, Declared> declared = new Dictionary<string, Declared>();
            foreach (PropertyInfo property in level.GetProperties(m_flags))
            {
                if (property.GetIndexParameters().Length == 0)
                    AddData(declared, property);
            }
            foreach (EventInfo watched in level.GetEvents(m_flags))
                AddData(declared, watched);
            foreach (FieldInfo field in level.GetFields(m_flags))
            {
                if (!field.IsSpecialName)
                    AddData(declared, field);
            }
            foreach (MethodInfo method in level.GetMethods(m_flags))
            {
                if (!method.IsSpecialName && (method.CallingConvention & CallingConventions.VarArgs) == 0)
                    Of(declared, method.Name).Methods.Add(method);
            }
            foreach (string name in declared.Keys)
                Take(level, name, declared[name]);
        }

        private static void AddData(Dictionary<string, Declared> declared, MemberInfo member)
        {
            Declared one = Of(declared, member.Name);
            one.Data = one.Data ?? member;
        }

        private static Declared Of(Dictionary<string, Declared> declared, string name)
        {
            Declared one;
            if (!declared.TryGetValue(name, out one))
            {
                one = new Declared();
                declared.Add(name, one);
            }
            return one;
        }

        private void Take(Type level, string name, Declared declared)
        {
            Named named;
            if (!m_named.TryGetValue(name, out named))
            {
                named = new Named();
                m_named.Add(name, named);
                m_names.Add(name);
            }
            if (!named.IsDataClosed)
            {
                named.Data = declared.Data;
                named.IsDataClosed = declared.Data != null || (!level.IsInterface && declared.Methods.Count > 0);
            }
            // The interfaces count only for what the class implements explicitly.
            named.AreMethodsClosed = named.AreMethodsClosed || Members.IsCallable(declared.Data) ||
                                     (level.IsInterface && !m_type.IsInterface && named.Methods.Count > 0);
            if (!named.AreMethodsClosed)
                AddMethods(named.Methods, declared.Methods);
        }

        private static void AddMethods(List<MethodInfo> found, List<MethodInfo> more)
        {
            foreach (MethodInfo method in more)
            {
                if (!found.Exists(delegate(MethodInfo nearer) { return Members.Hides(nearer, method); }))
                    found.Add(method);
            }
        }
    }
}
