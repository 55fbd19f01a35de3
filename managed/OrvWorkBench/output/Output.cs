using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Text;

namespace OrvWorkBench
{
    // The workbench's console, on which the user's code prints too: UTF-8, each line out at once. A console that is gone
    // is no reason for a command to fail.
    internal static class Output
    {
        private const int c_greatestEcho = 100;

        // Kept apart from Console.Out, which the user's code may redirect.
        private static TextWriter s_writer;

        // Where the lines go.
        public static TextWriter Writer
        {
            set { s_writer = value; }
        }

        // Makes Console write UTF-8, unbuffered. Done once, before the first command.
        public static void Prepare()
        {
            if (s_writer != null)
                return;
            s_writer = Console.Out;
            Encoding encoding = new UTF8Encoding(false);
            try
            {
                // A console window shows what its code page says; elsewhere there is none to set.
                if (Path.DirectorySeparatorChar == '\\')
                    Console.OutputEncoding = encoding;
            }
            catch (IOException)
            {
            }
            try
            {
                StreamWriter writer = new StreamWriter(Console.OpenStandardOutput(), encoding);
                writer.AutoFlush = true;
                s_writer = TextWriter.Synchronized(writer);
                Console.SetOut(s_writer);
            }
            catch (IOException)
            {
            }
        }

        public static void Line(string text)
        {
            try
            {
                s_writer.WriteLine(text);
                s_writer.Flush();
            }
            catch (IOException)
            {
            }
            catch (ObjectDisposedException)
            {
            }
        }

        public static string OneLine(string text)
        {
            return text.Replace("\r\n", " ").Replace('\n', ' ').Replace('\r', ' ');
        }

        // What is wrong with a command text, and the place.
        public static void Error(string text, int position, string message)
        {
            if (position < 0 || text.Trim().Length == 0)
            {
                Line("error: " + message);
                return;
            }
            Line("error at column " + (position + 1).ToString(CultureInfo.InvariantCulture) + ": " + message);
            int start = Math.Max(0, Math.Min(position, text.Length) - c_greatestEcho / 2);
            int end = Math.Min(text.Length, start + c_greatestEcho);
            string lead = start > 0 ? "..." : "";
            Line("  " + lead + Printable(text.Substring(start, end - start)) + (end < text.Length ? "..." : ""));
            Line("  " + new string(' ', lead.Length + Math.Min(position, text.Length) - start) + "^");
        }

        // One character for each of the text's, so that the mark below stays in its column.
        private static string Printable(string text)
        {
            StringBuilder printable = new StringBuilder(text);
            for (int i = 0; i < printable.Length; ++i)
            {
                if (char.IsControl(printable[i]))
                    printable[i] = ' ';
            }
            return printable.ToString();
        }

        // An exception of the user's code, its inner ones and where they were raised.
        public static void UserException(Exception error)
        {
            string label = "exception";
            for (int depth = 0; error != null && depth < 20; ++depth)
            {
                Line(label + " " + Describe(error));
                foreach (string line in StackOf(error))
                    Line("    " + line);
                label = "  caused by";
                error = error.InnerException;
            }
        }

        private static string Describe(Exception error)
        {
            string name = TypeNames.Show(error.GetType());
            try
            {
                return name + ": " + OneLine(error.Message);
            }
            catch (Exception)
            {
                return name + " (its Message raises)";
            }
        }

        // The frames of the user's code: those of the call through reflection at the end are left out.
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
