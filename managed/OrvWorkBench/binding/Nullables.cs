using System;
using System.Reflection;

namespace OrvWorkBench
{
    // The members of nullable values. A nullable value in an object is the plain value or null, on which reflection calls
    // none of them.
    internal static class Nullables
    {
        public static bool IsNullable(Type type)
        {
            return Nullable.GetUnderlyingType(type) != null;
        }

        // Calls the method or accessor of the nullable type. Throws UserCodeError where C# raises an exception.
        public static object Call(MethodInfo method, Type type, object data, object[] arguments)
        {
            switch (method.Name)
            {
            case "get_HasValue":
                return data != null;
            case "get_Value":
                if (data == null)
                    throw new UserCodeError(new InvalidOperationException("Nullable object must have a value."));
                return data;
            case "GetValueOrDefault":
                return data ?? (arguments.Length == 1 ? arguments[0] : Activator.CreateInstance(Nullable.GetUnderlyingType(type)));
            case "ToString":
                return data == null ? "" : Of(data, "ToString", arguments);
            case "GetHashCode":
                return data == null ? 0 : Of(data, "GetHashCode", arguments);
            case "Equals":
                return data == null ? arguments[0] == null : Of(data, "Equals", arguments);
            default:
                if (data == null)
                    throw new UserCodeError(new NullReferenceException());
                return UserCode.Invoke(method, data, arguments);
            }
        }

        private static object Of(object data, string name, object[] arguments)
        {
            Type[] types = arguments.Length == 0 ? Type.EmptyTypes : new Type[] { typeof(object) };
            return UserCode.Invoke(typeof(object).GetMethod(name, types), data, arguments);
        }
    }
}
