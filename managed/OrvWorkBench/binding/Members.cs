using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Finds public members of a type by name: in the class itself first, then in its base classes, then in its
    // interfaces. An object of a class that is not public can so be used through its interfaces.
    internal static class Members
    {
        // The property (not an indexer) or field of that name; null when there is none.
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

        // Leaves out operators and the accessors of properties and events: a command cannot call them by name.
        public static List<MethodBase> FindMethods(Type type, string name, BindingFlags flags)
        {
            List<MethodBase> found = new List<MethodBase>();
            List<MethodInfo> originals = new List<MethodInfo>();
            foreach (Type level in Levels(type))
            {
                // The interfaces count only for what the class implements explicitly.
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

        // The getters, or the setters, of the type's indexers.
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

        // For an error message: names a member that differs only in case or is of another kind. Empty when there is
        // none.
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
