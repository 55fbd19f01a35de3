using System;
using System.IO;
using System.Text;

namespace OrvWorkBench
{
    // The workbench's console, on which the user's code prints too. Written as UTF-8, each line at once. A command does
    // not fail because the console is gone.
    internal static class Output
    {
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
                Console.SetOut(Unbuffered(Console.OpenStandardOutput(), encoding));
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
    }
}
