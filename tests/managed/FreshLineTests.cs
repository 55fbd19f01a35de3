using System;
using System.Diagnostics;
using System.IO;

namespace OrvTest
{
    // The dispatcher's lines begin where a line begins, whatever the called code has left behind.
    internal static class FreshLineTests
    {
        // What is called, and what there is to read then.
        public static readonly string[,] Commands = {
            { "invoke", "System.Console.Write(\"one\")", "one\n=> void" },
            { "invoke", "System.Console.Write(\"two\\n\")", "two\n=> void" },
            { "invoke", "System.Console.Write(\"three\\r\\n\")", "three\n=> void" },
            { "invoke", "System.Console.Write(\"\")", "=> void" },
            { "invoke", "System.GC.Collect()", "=> void" },
            { "invoke", "System.Console.WriteLine()", "\n=> void" },
            { "invoke", "System.Console.Write(\"a\\nb\")", "a\nb\n=> void" },
            { "invoke", "System.Console.Write('\u00e4')", "\u00e4\n=> void" },
            { "create", "s = OrvTest.Shouter()", "new \ns = OrvTest.Shouter" },
            { "get", "s.Name", "name \n=> string \"s\"" },
            { "set", "s.Rang += watch", "add \nwatching Rang" },
            // The line goes on where the called code is alone with it.
            { "invoke", "s.Shout()", "first second\nevent Rang(null, null)\nthird\nevent Rang(null, null)\nfourth\n=> void" },
            { "invoke", "s.Fail()", "fails \nexception OrvTest.Quiet: quiet" },
            { "invoke", "s.Shout().Nope()", "first second\nevent Rang(null, null)\nthird\nevent Rang(null, null)\nfourth\n" +
                                            "error at column 3: the method returns nothing\n  s.Shout().Nope()\n    ^" },
            // Past Console nobody sees it, where there is no console window.
            { "invoke", "System.Console.OpenStandardOutput().WriteByte(112)", "p=> void" },
            // What goes elsewhere leaves no line open here.
            { "invoke", "System.Console.SetOut(System.IO.TextWriter.Null)", "=> void" },
            { "invoke", "System.Console.Write(\"nowhere\")", "=> void" },
        };

        public static void TheDispatchersLinesBeginWhereALineBegins()
        {
            string printed = Printed("FreshLineCommands").Replace("\r\n", "\n");
            int at = printed.IndexOf("---\n", StringComparison.Ordinal) + 4;
            for (int i = 0; i < Commands.GetLength(0); ++i)
            {
                string expected = Commands[i, 2] + "\n";
                string actual = printed.Substring(Math.Min(at, printed.Length), Math.Min(expected.Length, printed.Length - at));
                Harness.Equal(expected, actual, Commands[i, 1]);
                at += expected.Length;
            }
            Harness.Equal("1 tests, 0 failed\n", printed.Substring(Math.Min(at, printed.Length)), "the end");
        }

        // What this program prints on its output when it runs the class.
        private static string Printed(string name)
        {
            string program = Process.GetCurrentProcess().MainModule.FileName;
            string own = typeof(Harness).Assembly.Location;
            bool isOwn = Path.GetFileName(program) == Path.GetFileName(own);
            ProcessStartInfo start = new ProcessStartInfo(program, (isOwn ? "" : "\"" + own + "\" ") + name);
            start.UseShellExecute = false;
            start.RedirectStandardOutput = true;
            start.StandardOutputEncoding = System.Text.Encoding.UTF8;
            using (Process run = Process.Start(start))
            {
                string printed = run.StandardOutput.ReadToEnd();
                run.WaitForExit();
                return printed;
            }
        }
    }

    // Run in a process of its own, whose output is read.
    internal static class FreshLineCommands
    {
        public static void Run()
        {
            TextWriter before = Console.Out;
            Bench.Load("TestLibrary.dll");
            Console.WriteLine("---");
            for (int i = 0; i < FreshLineTests.Commands.GetLength(0); ++i)
                Bench.Do(FreshLineTests.Commands[i, 0], FreshLineTests.Commands[i, 1]);
            Console.SetOut(before);
        }
    }
}
