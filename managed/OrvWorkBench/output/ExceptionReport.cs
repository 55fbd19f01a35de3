using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // Prints what the user's code raised.
    internal static class ExceptionReport
    {
        // Prints the exception, its inner ones, and where in the user's code each was raised.
        public static void Show(Exception error)
        {
            string label = "exception";
            for (int depth = 0; error != null && depth < 20; ++depth)
            {
                Output.Line(label + " " + Describe(error));
                foreach (string line in StackOf(error))
                    Output.Line("    " + line);
                label = "  caused by";
                error = error.InnerException;
            }
        }

        private static string Describe(Exception error)
        {
            string name = TypeNames.Show(error.GetType());
            try
            {
                return name + ": " + Printable.OneLine(error.Message);
            }
            catch (Exception)
            {
                return name + " (its Message raises)";
            }
        }

        // The stack without the outermost frames, which are this dispatcher's own and those of reflection.
        private static List<string> StackOf(Exception error)
        {
            List<string> lines = new List<string>();
            try
            {
                foreach (string line in (error.StackTrace ?? "").Replace("\r", "").Split('\n'))
                    lines.Add(line.Trim());
            }
            catch (Exception)
            {
                // An exception class may override StackTrace.
            }
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
