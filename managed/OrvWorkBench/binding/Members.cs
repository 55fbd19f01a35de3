using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Finds public members of a type by name: in the class itself first, then in its base classes, then in its
    // interfaces. An object of a class that is not public can so be used through its interfaces. As in C#, an override is
    // the member that it overrides, and a member hides those of its name in the base classes: a method only the methods
    // that take the same, and all else.
    internal static class Members
    {
        private const BindingFlags c_all = BindingFlags.Public | BindingFlags.NonPublic | BindingFlags.DeclaredOnly;

        // The property (not an indexer), field or event of that name; null when there is none, or when methods hide it.
        public static MemberInfo FindData(Type type, string name, BindingFlags flags)
        {
            foreach (Type level in Levels(type))
            {
                MemberInfo data = DataOf(level, name, flags);
                if (data != null)
                    return data;
                if (!level.IsInterface && MethodsOf(level, name, flags).Count > 0)
                    return null;
            }
            return null;
        }

        private static MemberInfo DataOf(Type level, string name, BindingFlags flags)
        {
            foreach (PropertyInfo property in level.GetProperties(flags | BindingFlags.DeclaredOnly))
            {
                if (property.Name == name && property.GetIndexParameters().Length == 0)
                    return property;
            }
            return (MemberInfo)level.GetEvent(name, flags | BindingFlags.DeclaredOnly) ??
                   level.GetField(name, flags | BindingFlags.DeclaredOnly);
        }

        // The methods that a call of the name may mean. Operators and the accessors of properties and events are left out:
        // C# does not call them by name; and so are methods with a variable list of arguments in the manner of C.
        public static List<MethodBase> FindMethods(Type type, string name, BindingFlags flags)
        {
            List<MethodBase> found = new List<MethodBase>();
            foreach (Type level in Levels(type))
            {
                // The interfaces count only for what the class implements explicitly.
                if (level.IsInterface && !type.IsInterface && found.Count > 0)
                    break;
                // A delegate hides the methods behind it; what cannot be called hides none from a call.
                if (IsCallable(DataOf(level, name, flags)))
                    break;
                foreach (MethodInfo method in MethodsOf(level, name, flags))
                {
                    if (!found.Exists(delegate(MethodBase nearer) { return Hides(nearer, method); }))
                        found.Add(method);
                }
            }
            return found;
        }

        private static List<MethodInfo> MethodsOf(Type level, string name, BindingFlags flags)
        {
            List<MethodInfo> found = new List<MethodInfo>();
            foreach (MethodInfo method in level.GetMethods(flags | BindingFlags.DeclaredOnly))
            {
                if (method.Name == name && !method.IsSpecialName && (method.CallingConvention & CallingConventions.VarArgs) == 0)
                    found.Add(method);
            }
            return found;
        }

        // Whether a property or field holds a delegate.
        public static bool IsCallable(MemberInfo data)
        {
            PropertyInfo property = data as PropertyInfo;
            FieldInfo field = data as FieldInfo;
            Type type = property != null ? property.PropertyType : field != null ? field.FieldType : null;
            return type != null && typeof(Delegate).IsAssignableFrom(type);
        }

        // Whether a member of a more derived class takes exactly what the other one takes.
        public static bool Hides(MethodBase nearer, MethodBase farther)
        {
            if (nearer.DeclaringType == farther.DeclaringType || nearer.DeclaringType.IsInterface != farther.DeclaringType.IsInterface)
                return false;
            int count = nearer.IsGenericMethod ? nearer.GetGenericArguments().Length : 0;
            if (count != (farther.IsGenericMethod ? farther.GetGenericArguments().Length : 0))
                return false;
            return IsSame(nearer.GetParameters(), farther.GetParameters());
        }

        private static bool IsSame(ParameterInfo[] some, ParameterInfo[] others)
        {
            if (some.Length != others.Length)
                return false;
            for (int i = 0; i < some.Length; ++i)
            {
                if (!IsSame(some[i].ParameterType, others[i].ParameterType))
                    return false;
            }
            return true;
        }

        // Type parameters of two methods are the same when they stand at the same place.
        private static bool IsSame(Type one, Type other)
        {
            if (one == other)
                return true;
            if (one.IsGenericParameter && other.IsGenericParameter)
                return one.DeclaringMethod != null && other.DeclaringMethod != null &&
                       one.GenericParameterPosition == other.GenericParameterPosition;
            if (one.HasElementType && other.HasElementType)
                return one.IsArray == other.IsArray && one.IsByRef == other.IsByRef &&
                       (!one.IsArray || one.GetArrayRank() == other.GetArrayRank()) &&
                       IsSame(one.GetElementType(), other.GetElementType());
            if (!one.IsGenericType || !other.IsGenericType || one.GetGenericTypeDefinition() != other.GetGenericTypeDefinition())
                return false;
            Type[] some = one.GetGenericArguments();
            Type[] others = other.GetGenericArguments();
            for (int i = 0; i < some.Length; ++i)
            {
                if (!IsSame(some[i], others[i]))
                    return false;
            }
            return true;
        }

        // The type's indexers.
        public static List<PropertyInfo> FindIndexers(Type type)
        {
            List<PropertyInfo> found = new List<PropertyInfo>();
            foreach (Type level in Levels(type))
            {
                if (level.IsInterface && !type.IsInterface && found.Count > 0)
                    break;
                foreach (MemberInfo member in level.GetDefaultMembers())
                {
                    PropertyInfo property = member as PropertyInfo;
                    if (property == null || property.GetIndexParameters().Length == 0 || property.DeclaringType != level)
                        continue;
                    if (!found.Exists(delegate(PropertyInfo nearer) {
                            return nearer.DeclaringType.IsInterface == level.IsInterface &&
                                   IsSame(nearer.GetIndexParameters(), property.GetIndexParameters());
                        }))
                        found.Add(property);
                }
            }
            return found;
        }

        // The public accessor. An override of one of two accessors leaves the other where it was. Null when there is none.
        public static MethodInfo Accessor(PropertyInfo property, bool isSetter)
        {
            for (PropertyInfo level = property; level != null; level = Overridden(level))
            {
                MethodInfo any = level.GetSetMethod(true);
                if (!isSetter)
                    any = level.GetGetMethod(true);
                if (any != null)
                    return any.IsPublic ? any : null;
            }
            return null;
        }

        // The property of a base class that this one overrides; null when it overrides none.
        private static PropertyInfo Overridden(PropertyInfo property)
        {
            MethodInfo own = property.GetGetMethod(true) ?? property.GetSetMethod(true);
            if (own == null || !own.IsVirtual || own.GetBaseDefinition().DeclaringType == own.DeclaringType)
                return null;
            for (Type type = property.DeclaringType.BaseType; type != null; type = type.BaseType)
            {
                foreach (PropertyInfo other in type.GetProperties(c_all | BindingFlags.Instance))
                {
                    if (other.Name == property.Name && IsSame(other.GetIndexParameters(), property.GetIndexParameters()))
                        return other;
                }
            }
            return null;
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

        // The class and its base classes, then the interfaces.
        public static IEnumerable<Type> Levels(Type type)
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
