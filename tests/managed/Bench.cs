using System;
using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // Commands as the workbench gives them, and what they print.
    internal static class Bench
    {
        private static StringWriter s_output = new StringWriter();

        // Makes a clean start: nothing loaded but the test library, nothing printed.
        public static void Start()
        {
            Output.Prepare();
            Output.Writer = TextWriter.Synchronized(s_output);
            CInvoke.Reset("");
            Load("TestLibrary.dll");
            Printed();
        }

        public static int Load(string file)
        {
            return CInvoke.LoadAssembly(Path.Combine(Harness.Folder, file));
        }

        // Where the commands print.
        public static TextWriter Writer
        {
            get { return s_output; }
        }

        // What was printed since the last call.
        public static string Printed()
        {
            string text = s_output.ToString().Replace("\r\n", "\n").TrimEnd('\n');
            s_output = new StringWriter();
            Output.Writer = TextWriter.Synchronized(s_output);
            // Nothing is refused by chance.
            Harness.True(!text.Contains("error: the command failed unexpectedly"), text);
            return text;
        }

        public static string FirstLine()
        {
            return Printed().Split('\n')[0];
        }

        public static int Do(string command, string text)
        {
            switch (command)
            {
            case "load":
                return CInvoke.LoadAssembly(text);
            case "create":
                return CInvoke.CreateType(text);
            case "invoke":
                return CInvoke.Invoke(text);
            case "get":
                return CInvoke.GetProperty(text);
            case "set":
                return CInvoke.SetProperty(text);
            case "delete":
                return CInvoke.Delete(text);
            case "reset":
                return CInvoke.Reset(text);
            default:
                throw new ArgumentException(command);
            }
        }

        // One row of a table: the command, the code, and the first line that it prints (null: any).
        public static void Expect(string command, string text, int code, string line)
        {
            int actual = Do(command, text);
            string printed = FirstLine();
            Harness.Equal(code, actual, command + " " + text + "\n    printed:  " + printed);
            if (line != null)
                Harness.Equal(line, printed, command + " " + text);
        }
    }
}
