using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The public members of a type, inherited ones included, as reflection has them.
    internal static class MemberList
    {
        private const BindingFlags c_all = BindingFlags.Public | BindingFlags.Instance | BindingFlags.Static | BindingFlags.FlattenHierarchy;

        // Constructors, fields, properties, methods, events and nested types, in this order, each kind by name. The
        // accessors of properties and events are left out.
        public static List<MemberInfo> Of(Type type)
        {
            List<MemberInfo> found = new List<MemberInfo>();
            Append(found, type.GetConstructors(BindingFlags.Public | BindingFlags.Instance));
            List<Type> levels = new List<Type>();
            levels.Add(type);
            // An interface has no base class; what it inherits stands in its interfaces.
            if (type.IsInterface)
                levels.AddRange(type.GetInterfaces());
            foreach (Type level in levels)
                Append(found, level.GetFields(c_all));
            foreach (Type level in levels)
                Append(found, level.GetProperties(c_all));
            foreach (Type level in levels)
                Append(found, Array.FindAll(level.GetMethods(c_all), IsNoAccessor));
            foreach (Type level in levels)
                Append(found, level.GetEvents(c_all));
            Append(found, type.GetNestedTypes(BindingFlags.Public));
            return found;
        }

        // An operator has a special name too, and a user asks for it.
        private static bool IsNoAccessor(MethodInfo method)
        {
            return !method.IsSpecialName || method.Name.StartsWith("op_", StringComparison.Ordinal);
        }

        private static void Append(List<MemberInfo> found, MemberInfo[] members)
        {
            List<MemberInfo> sorted = new List<MemberInfo>(members);
            sorted.Sort(delegate(MemberInfo one, MemberInfo other) {
                int order = string.CompareOrdinal(one.Name, other.Name);
                return order != 0 ? order : string.CompareOrdinal(MemberTexts.Show(one), MemberTexts.Show(other));
            });
            found.AddRange(sorted);
        }
    }
}
