using System;
using System.Collections;
using System.Collections.Generic;
using System.Globalization;
using System.Reflection;

namespace OrvWorkBench
{
    // Prints what the user's code raised.
    internal static class ExceptionReport
    {
        // More than any real chain of causes; an exception may name itself as its cause.
        private const int c_greatestCount = 100;

        // Prints the exception, all that caused it, and where in the user's code each was raised.
        public static void Show(Exception error)
        {
            int left = c_greatestCount;
            Show("exception", error, ref left);
        }

        private static void Show(string label, Exception error, ref int left)
        {
            if (left-- == 0)
                Output.Line("  there are more causes; they are not shown");
            if (left < 0)
                return;
            Output.Line(label + " " + Describe(error));
            foreach (string line in StackOf(error))
                Output.Line("    " + line);
            List<Exception> causes = CausesOf(error);
            for (int i = 0; i < causes.Count; ++i)
            {
                string which = causes.Count == 1 ? "" : " (" + Number(i + 1) + " of " + Number(causes.Count) + ")";
                Show("  caused by" + which, causes[i], ref left);
            }
        }

        private static string Number(int number)
        {
            return number.ToString(CultureInfo.InvariantCulture);
        }

        // Most exceptions have at most one cause. Some have a list: one has it in the 2.0 library, and one, which came
        // later, is known by its name.
        private static List<Exception> CausesOf(Exception error)
        {
            List<Exception> causes = new List<Exception>();
            Guard.Run(delegate() {
                IEnumerable several = SeveralCauses(error);
                if (several != null)
                {
                    foreach (object cause in several)
                    {
                        if (cause is Exception)
                            causes.Add((Exception)cause);
                    }
                }
                if (causes.Count == 0 && error.InnerException != null)
                    causes.Add(error.InnerException);
            });
            return causes;
        }

        private static IEnumerable SeveralCauses(Exception error)
        {
            ReflectionTypeLoadException partial = error as ReflectionTypeLoadException;
            if (partial != null)
                return partial.LoaderExceptions;
            for (Type type = error.GetType(); type != null; type = type.BaseType)
            {
                if (type.FullName == "System.AggregateException")
                    return type.GetProperty("InnerExceptions").GetValue(error, null) as IEnumerable;
            }
            return null;
        }

        private static string Describe(Exception error)
        {
            string name = TypeNames.Show(error.GetType());
            string message = null;
            Exception raised = Guard.Run(delegate() { message = Printable.OneLine(error.Message); });
            return raised == null ? name + ": " + message : name + " (its Message raises)";
        }

        // The stack without the outermost frames, which are this dispatcher's own and those of reflection.
        private static List<string> StackOf(Exception error)
        {
            List<string> lines = new List<string>();
            // An exception class may override StackTrace.
            Guard.Run(delegate() {
                foreach (string line in (error.StackTrace ?? "").Replace("\r", "").Split('\n'))
                    lines.Add(line.Trim());
            });
            int count = lines.Count;
            while (count > 0 && IsOurs(lines[count - 1]))
                --count;
            lines.RemoveRange(count, lines.Count - count);
            return lines;
        }

        private static bool IsOurs(string frame)
        {
            return frame.Length == 0 || frame.Contains(" System.Reflection.") || frame.Contains(" System.RuntimeMethodHandle.") ||
                   frame.Contains(" OrvWorkBench.");
        }
    }
}
