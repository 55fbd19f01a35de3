using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Finds members of a type by name, the most derived first; those of an interface also in the interfaces it builds on.
    // An object whose class is not public still answers by its interfaces.
    internal static class Members
    {
        // The property without index or the field of that name; null when there is none.
        public static MemberInfo FindData(Type type, string name, BindingFlags flags)
        {
            foreach (Type level in Levels(type))
            {
                PropertyInfo property = FindProperty(level, name, flags);
                if (property != null)
                    return property;
                FieldInfo field = level.GetField(name, flags | BindingFlags.DeclaredOnly);
                if (field != null)
                    return field;
            }
            return null;
        }

        private static PropertyInfo FindProperty(Type level, string name, BindingFlags flags)
        {
            foreach (PropertyInfo property in level.GetProperties(flags | BindingFlags.DeclaredOnly))
            {
                if (property.Name == name && property.GetIndexParameters().Length == 0)
                    return property;
            }
            return null;
        }

        // Accessors of properties and events, and operators, are no methods to call.
        public static List<MethodBase> FindMethods(Type type, string name, BindingFlags flags)
        {
            List<MethodBase> found = new List<MethodBase>();
            List<MethodInfo> originals = new List<MethodInfo>();
            foreach (Type level in Levels(type))
            {
                // Class members first; an interface's are for what the class implements explicitly.
                if (level.IsInterface && !type.IsInterface && found.Count > 0)
                    break;
                foreach (MethodInfo method in level.GetMethods(flags | BindingFlags.DeclaredOnly))
                {
                    MethodInfo original = method.GetBaseDefinition();
                    if (method.Name != name || method.IsSpecialName || originals.Contains(original))
                        continue;
                    found.Add(method);
                    originals.Add(original);
                }
            }
            return found;
        }

        // The accessors of the type's indexers.
        public static List<MethodBase> FindIndexers(Type type, bool setters)
        {
            List<MethodBase> found = new List<MethodBase>();
            foreach (Type level in Levels(type))
            {
                if (level.IsInterface && !type.IsInterface && found.Count > 0)
                    break;
                foreach (MemberInfo member in level.GetDefaultMembers())
                {
                    PropertyInfo property = member as PropertyInfo;
                    if (property == null || property.GetIndexParameters().Length == 0 || property.DeclaringType != level)
                        continue;
                    MethodInfo accessor = setters ? property.GetSetMethod() : property.GetGetMethod();
                    if (accessor != null && !found.Contains(accessor))
                        found.Add(accessor);
                }
            }
            return found;
        }

        // A member that differs only in case, or one of another kind, for an error message.
        public static string Hint(Type type, string name, BindingFlags flags)
        {
            foreach (Type level in Levels(type))
            {
                foreach (MemberInfo member in level.GetMembers(flags | BindingFlags.DeclaredOnly))
                {
                    MethodBase method = member as MethodBase;
                    if (!string.Equals(member.Name, name, StringComparison.OrdinalIgnoreCase) ||
                        (method != null && method.IsSpecialName))
                        continue;
                    string kind = method != null ? "method" : member is EventInfo ? "event" : "member";
                    return "; there is a " + kind + " '" + member.Name + "'";
                }
            }
            return "";
        }

        private static IEnumerable<Type> Levels(Type type)
        {
            for (Type level = type; level != null; level = level.BaseType)
                yield return level;
            foreach (Type level in type.GetInterfaces())
                yield return level;
            if (type.IsInterface)
                yield return typeof(object);
        }
    }
}
