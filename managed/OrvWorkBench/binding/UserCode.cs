using System;
using System.Reflection;
using System.Threading;

namespace OrvWorkBench
{
    // The user's code is only called from here; whatever it raises comes out as UserCodeError.
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
                // Not all come wrapped; what a static constructor raises, for example, does not.
                throw new UserCodeError(error);
            }
        }

        // Reading a field can run user code too: the static constructor of its type.
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
