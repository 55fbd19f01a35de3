using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;
using OrvWorkBench;

namespace OrvTest
{
    // A small test runner: public static void methods of the classes that are named on the command line. It prints what
    // failed and ends with the number of failed tests.
    internal static class Harness
    {
        private static readonly List<string> s_failures = new List<string>();

        public static int Main(string[] classes)
        {
            int failed = 0;
            int run = 0;
            foreach (string name in classes)
            {
                Type type = typeof(Harness).Assembly.GetType("OrvTest." + name);
                if (type == null)
                {
                    Console.WriteLine("there is no test class " + name);
                    return 99;
                }
                foreach (MethodInfo test in type.GetMethods(BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly))
                {
                    ++run;
                    failed += Run(test) ? 0 : 1;
                }
            }
            Console.WriteLine(run + " tests, " + failed + " failed");
            return run == 0 ? 98 : Math.Min(failed, 90);
        }

        private static bool Run(MethodInfo test)
        {
            s_failures.Clear();
            try
            {
                test.Invoke(null, null);
            }
            catch (TargetInvocationException error)
            {
                s_failures.Add(error.InnerException.ToString());
            }
            if (s_failures.Count == 0)
                return true;
            Console.WriteLine("FAILED " + test.DeclaringType.Name + "." + test.Name);
            foreach (string failure in s_failures)
                Console.WriteLine("  " + failure);
            return false;
        }

        public static void Equal(object expected, object actual, string what)
        {
            if (!Equals(expected, actual))
                s_failures.Add(what + "\n    expected: " + expected + "\n    but was:  " + actual);
        }

        public static void True(bool condition, string what)
        {
            if (!condition)
                s_failures.Add(what);
        }

        // The folder of the test program and of the assemblies to load.
        public static string Folder
        {
            get { return Path.GetDirectoryName(typeof(Harness).Assembly.Location); }
        }
    }

    // Commands as the workbench gives them, and what they print.
    internal static class Bench
    {
        private static StringWriter s_output = new StringWriter();

        // Makes a clean start: nothing loaded but the test library, nothing printed.
        public static void Start()
        {
            Output.Prepare();
            Output.Writer = s_output;
            CInvoke.Reset("");
            Load("TestLibrary.dll");
            Printed();
        }

        public static int Load(string file)
        {
            return CInvoke.LoadAssembly(Path.Combine(Harness.Folder, file));
        }

        // What was printed since the last call.
        public static string Printed()
        {
            string text = s_output.ToString().Replace("\r\n", "\n").TrimEnd('\n');
            s_output = new StringWriter();
            Output.Writer = s_output;
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
