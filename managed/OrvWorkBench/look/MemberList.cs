using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The public members of a type, inherited ones included, as reflection has them.
    internal sealed class MemberList
    {
        private const BindingFlags c_own = BindingFlags.Public | BindingFlags.Instance | BindingFlags.Static | BindingFlags.DeclaredOnly;
        private const BindingFlags c_all = BindingFlags.Public | BindingFlags.Instance | BindingFlags.Static | BindingFlags.FlattenHierarchy;

        private readonly List<ShownMember> m_found = new List<ShownMember>();
        // Null for all of them.
        private readonly MemberSearch m_wanted;

        private MemberList(MemberSearch wanted)
        {
            m_wanted = wanted;
        }

        // Constructors, fields, properties, methods, events and nested types, in this order, each kind by name. The
        // accessors of properties and events are left out.
        public static List<MemberInfo> Of(Type type)
        {
            List<Type> levels = new List<Type>();
            levels.Add(type);
            // An interface has no base class; what it inherits stands in its interfaces.
            if (type.IsInterface)
                levels.AddRange(type.GetInterfaces());
            MemberList list = new MemberList(null);
            list.Read(type, levels, c_all);
            List<MemberInfo> members = new List<MemberInfo>();
            foreach (ShownMember member in list.m_found)
                members.Add(member.Member);
            return members;
        }

        // What is wanted of those that the type itself declares, in the same order. No other member's text is made.
        public static List<ShownMember> DeclaredBy(Type type, MemberSearch wanted)
        {
            MemberList list = new MemberList(wanted);
            list.Read(type, new Type[] { type }, c_own);
            return list.m_found;
        }

        private void Read(Type type, IList<Type> levels, BindingFlags flags)
        {
            Append(type.GetConstructors(BindingFlags.Public | BindingFlags.Instance));
            foreach (Type level in levels)
                Append(level.GetFields(flags));
            foreach (Type level in levels)
                Append(level.GetProperties(flags));
            foreach (Type level in levels)
                Append(Array.FindAll(level.GetMethods(flags), IsNoAccessor));
            foreach (Type level in levels)
                Append(level.GetEvents(flags));
            Append(type.GetNestedTypes(BindingFlags.Public));
        }

        // An operator has a special name too, and a user asks for it.
        private static bool IsNoAccessor(MethodInfo method)
        {
            return !method.IsSpecialName || method.Name.StartsWith("op_", StringComparison.Ordinal);
        }

        private void Append(MemberInfo[] members)
        {
            List<ShownMember> sorted = new List<ShownMember>();
            foreach (MemberInfo member in members)
            {
                if (m_wanted == null || m_wanted.Matches(member))
                    sorted.Add(new ShownMember(member));
            }
            sorted.Sort(delegate(ShownMember one, ShownMember other) {
                int order = string.CompareOrdinal(one.Member.Name, other.Member.Name);
                return order != 0 ? order : string.CompareOrdinal(one.Shown, other.Shown);
            });
            m_found.AddRange(sorted);
        }
    }
}
