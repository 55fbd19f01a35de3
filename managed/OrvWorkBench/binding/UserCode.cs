using System;
using System.Reflection;

namespace OrvWorkBench
{
    // The user's code is only called from here; whatever it raises comes out as UserCodeError.
    internal static class UserCode
    {
        public static object Invoke(MethodBase method, object target, object[] arguments)
        {
            object result = null;
            Run(delegate() {
                ConstructorInfo constructor = method as ConstructorInfo;
                result = constructor != null ? constructor.Invoke(arguments) : method.Invoke(target, arguments);
            });
            return result;
        }

        // Reading a field can run user code too: the static constructor of its type.
        public static object GetField(FieldInfo field, object target)
        {
            object value = null;
            Run(delegate() { value = field.GetValue(target); });
            return value;
        }

        public static void SetField(FieldInfo field, object target, object value)
        {
            Run(delegate() { field.SetValue(target, value); });
        }

        public static void Run(Guard.Body body)
        {
            Exception raised = Guard.Run(body);
            if (raised != null)
                throw new UserCodeError(raised);
        }
    }
}
