using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;

namespace OrvTest
{
    // A small test runner: the public static void methods without parameters of the classes that are named on the command
    // line, or single ones, "Class.Method". It prints what failed and ends with the number of failed tests.
    internal static class Harness
    {
        private static readonly List<string> s_failures = new List<string>();

        public static int Main(string[] classes)
        {
            int failed = 0;
            int run = 0;
            foreach (string name in classes)
            {
                string[] parts = name.Split('.');
                Type type = typeof(Harness).Assembly.GetType("OrvTest." + parts[0]);
                if (type == null)
                {
                    Console.WriteLine("there is no test class " + name);
                    return 99;
                }
                foreach (MethodInfo test in type.GetMethods(BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly))
                {
                    if (test.GetParameters().Length > 0 || (parts.Length > 1 && test.Name != parts[1]))
                        continue;
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
}
