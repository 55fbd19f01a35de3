using System;
using System.Reflection;
using System.Threading;

namespace OrvWorkBench
{
    // The one door to the user's code: whatever it raises comes back as UserCodeError.
    internal static class UserCode
    {
        public static object Invoke(MethodBase method, object target, object[] arguments)
        {
            try
            {
                ConstructorInfo constructor = method as ConstructorInfo;
                return constructor != null ? constructor.Invoke(arguments) : method.Invoke(target, arguments);
            }
            catch (TargetInvocationException error)
            {
                throw new UserCodeError(error.InnerException ?? error);
            }
            catch (ThreadAbortException error)
            {
                Thread.ResetAbort();
                throw new UserCodeError(error);
            }
            catch (Exception error)
            {
                // A static constructor that raises, for example, arrives without the wrapper.
                throw new UserCodeError(error);
            }
        }

        // A field's first use runs its type's static constructor.
        public static object GetField(FieldInfo field, object target)
        {
            try
            {
                return field.GetValue(target);
            }
            catch (Exception error)
            {
                throw new UserCodeError(Inner(error));
            }
        }

        public static void SetField(FieldInfo field, object target, object value)
        {
            try
            {
                field.SetValue(target, value);
            }
            catch (Exception error)
            {
                throw new UserCodeError(Inner(error));
            }
        }

        private static Exception Inner(Exception error)
        {
            return error is TargetInvocationException ? error.InnerException ?? error : error;
        }
    }
}
