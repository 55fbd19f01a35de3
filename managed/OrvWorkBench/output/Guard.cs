using System;
using System.Reflection;
using System.Threading;

namespace OrvWorkBench
{
    // Runs what may call the user's code, so that nothing it raises gets past: an abort of the thread, which would go on
    // by itself after every catch, ends here too.
    internal static class Guard
    {
        public delegate void Body();

        // What the body raised, without the wrapping of reflection; null when it returned.
        public static Exception Run(Body body)
        {
            try
            {
                body();
                return null;
            }
            catch (Exception error)
            {
                if (error is ThreadAbortException)
                    TakeBackAbort();
                TargetInvocationException wrapped = error as TargetInvocationException;
                if (wrapped == null || wrapped.InnerException == null)
                    return error;
                if (wrapped.InnerException is ThreadAbortException)
                    TakeBackAbort();
                return wrapped.InnerException;
            }
        }

        // "raised System.X: why", for a text that could not be had otherwise.
        public static string Describe(Exception error)
        {
            return "raised " + NameAndMessage(error);
        }

        // "System.X: why"
        public static string NameAndMessage(Exception error)
        {
            string message = null;
            Exception worse = Run(delegate() { message = error.Message; });
            string name = TypeNames.Show(error.GetType());
            return worse != null || message == null ? name : name + ": " + Printable.OneLine(message);
        }

        public static void TakeBackAbort()
        {
            try
            {
                Thread.ResetAbort();
            }
            catch (ThreadStateException)
            {
                // The exception was raised as any other is; nobody aborts the thread.
            }
        }
    }
}
