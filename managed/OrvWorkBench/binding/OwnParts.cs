using System;
using System.Reflection;

namespace OrvWorkBench
{
    // Tells which values lead into the dispatcher: objects of its own types, and what reflection says about them.
    internal static class OwnParts
    {
        public static bool LeadTo(object value)
        {
            bool isOwn = false;
            // What derives from a class of reflection may be the user's code, and may refuse to answer.
            Guard.Run(delegate() { isOwn = value != null && (IsOfReflection(value) || IsOwn(value.GetType())); });
            return isOwn;
        }

        private static bool IsOfReflection(object value)
        {
            Assembly assembly = value as Assembly;
            Module module = value as Module;
            ParameterInfo parameter = value as ParameterInfo;
            if (assembly != null)
                return Assemblies.IsOwn(assembly);
            if (module != null)
                return Assemblies.IsOwn(module.Assembly);
            MemberInfo member = parameter != null ? parameter.Member : value as MemberInfo;
            return member != null && (IsOwn(member as Type) || IsOwn(member.DeclaringType));
        }

        // Also an array or a pointer of an own type, and what has one among its type arguments.
        private static bool IsOwn(Type type)
        {
            if (type == null)
                return false;
            if (type.HasElementType)
                return IsOwn(type.GetElementType());
            return Assemblies.IsOwn(type.Assembly) ||
                   (type.IsGenericType && Array.Exists<Type>(type.GetGenericArguments(), IsOwn));
        }
    }
}
