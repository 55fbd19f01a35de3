using System;
using System.IO;
using System.Text;

namespace OrvWorkBench
{
    // The workbench's console, on which the user's code prints too. Written as UTF-8, each line at once, and on a line of
    // its own. A command does not fail because the console is gone.
    internal static class Output
    {
        // Kept apart from Console.Out, which the user's code may redirect.
        private static TextWriter s_writer;
        // What the user's code prints; null before Prepare.
        private static LineWatch s_user;
        // Whether there may be a console window, whose cursor tells where it stands whoever wrote.
        private static bool s_mayHaveCursor = Path.DirectorySeparatorChar == '\\';

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
                // A console window decodes by its code page, which this sets; other systems have none.
                if (Path.DirectorySeparatorChar == '\\')
                    Console.OutputEncoding = encoding;
            }
            catch (IOException)
            {
            }
            try
            {
                // Two streams: what the user's code does to its own does not reach this one.
                s_writer = Unbuffered(StandardOutput.Open(), encoding);
                s_user = new LineWatch(Console.OpenStandardOutput());
                Console.SetOut(Unbuffered(s_user, encoding));
            }
            catch (IOException)
            {
            }
        }

        private static TextWriter Unbuffered(Stream stream, Encoding encoding)
        {
            StreamWriter writer = new StreamWriter(stream, encoding);
            writer.AutoFlush = true;
            return TextWriter.Synchronized(writer);
        }

        // Begins a new line when the user's code has not ended its own.
        public static void Line(string text)
        {
            try
            {
                if (IsInLine())
                    s_writer.WriteLine("");
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

        private static bool IsInLine()
        {
            bool isInLine = s_user != null && s_user.IsInLine;
            if (isInLine)
                s_user.EndLine();
            return IsCursorInLine() || isInLine;
        }

        private static bool IsCursorInLine()
        {
            bool isInLine = false;
            if (s_mayHaveCursor)
                s_mayHaveCursor = Guard.Run(delegate() { isInLine = Console.CursorLeft != 0; }) == null;
            return isInLine;
        }
    }
}
