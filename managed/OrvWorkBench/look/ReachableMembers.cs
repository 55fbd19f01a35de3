using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // A member that a command may name, with its text.
    internal sealed class ReachableMember
    {
        public readonly MemberInfo Member;
        private string m_shown;

        public ReachableMember(MemberInfo member)
        {
            Member = member;
        }

        public string Shown
        {
            get { return m_shown ?? (m_shown = MemberTexts.Show(Member)); }
        }
    }

    // The members that a command may name behind a type or a value, as the binding finds them: those of the class, of its
    // base classes and interfaces, without what a nearer member hides. Indexers and operators have no name. Each type is
    // read once.
    internal static class ReachableMembers
    {
        private const int c_greatestCount = 200;

        private static readonly Dictionary<Type, List<ReachableMember>> s_ofValues = new Dictionary<Type, List<ReachableMember>>();
        private static readonly Dictionary<Type, List<ReachableMember>> s_ofTypes = new Dictionary<Type, List<ReachableMember>>();

        // Properties, fields, events and methods of a value of that type.
        public static List<ReachableMember> OfValue(Type type)
        {
            return Of(s_ofValues, type, Node.InstanceMembers);
        }

        // The static ones, constants included.
        public static List<ReachableMember> OfType(Type type)
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

        private static List<ReachableMember> Of(Dictionary<Type, List<ReachableMember>> known, Type type, BindingFlags flags)
        {
            List<ReachableMember> members;
            if (known.TryGetValue(type, out members))
                return members;
            if (known.Count == c_greatestCount)
                known.Clear();
            members = new List<ReachableMember>();
            Dictionary<string, bool> names = new Dictionary<string, bool>();
            foreach (Type level in LevelsOf(type))
            {
                foreach (MemberInfo member in level.GetMembers(flags | BindingFlags.DeclaredOnly))
                {
                    if (names.ContainsKey(member.Name) || member is Type || member is ConstructorInfo)
                        continue;
                    names.Add(member.Name, true);
                    AddNamed(members, type, member.Name, flags);
                }
            }
            known.Add(type, members);
            return members;
        }

        private static List<Type> LevelsOf(Type type)
        {
            List<Type> levels = new List<Type>();
            for (Type level = type; level != null; level = level.BaseType)
                levels.Add(level);
            levels.AddRange(type.GetInterfaces());
            if (type.IsInterface)
                levels.Add(typeof(object));
            return levels;
        }

        private static void AddNamed(List<ReachableMember> members, Type type, string name, BindingFlags flags)
        {
            MemberInfo data = Members.FindData(type, name, flags);
            if (data != null)
                members.Add(new ReachableMember(data));
            foreach (MethodBase method in Members.FindMethods(type, name, flags))
                members.Add(new ReachableMember(method));
        }
    }
}
