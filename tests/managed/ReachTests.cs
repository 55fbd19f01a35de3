using System;
using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // Which types and files commands reach, and by which names.
    internal static class ReachTests
    {
        public static void TypesOfTheFrameworkNeedNoLoad()
        {
            CInvoke.Reset("");
            Bench.Printed();
            Bench.Expect("create", "u = System.Uri(\"http://a.b/c\")", 8, "u = System.Uri \"http://a.b/c\"");
            Bench.Expect("create", "r = System.Text.RegularExpressions.Regex(\"a+\")", 8, "r = System.Text.RegularExpressions.Regex \"a+\"");
            // What came with 3.5; a runtime that has it not says so.
            if (FrameworkLibraries.Get("System.Core") == null)
                return;
            Bench.Expect("create", "s = System.Collections.Generic.HashSet<int> { 1, 2, 1 }", 8, "s = System.Collections.Generic.HashSet<int> (2) { 1, 2 }");
            Bench.Expect("invoke", "System.Linq.Enumerable.Sum(new int[] {1, 2, 3})", 10, "=> int 6");
            Bench.Expect("invoke", "System.Linq.Enumerable.ToList(s)", 10, "=> System.Collections.Generic.List<int> (2) { 1, 2 }");
        }

        public static void ALibraryThatTheRuntimeLacksIsNamed()
        {
            Bench.Start();
            foreach (string[] one in new string[][] { new string[] { "System.Windows.Forms", "System.Windows.Forms.NoSuchForm" },
                                                      new string[] { "System.DirectoryServices", "System.DirectoryServices.NoSuchEntry" } })
            {
                bool isThere = FrameworkLibraries.Get(one[0]) != null;
                Harness.Equal(12, Bench.Do("create", "x = " + one[1] + "()"), one[1]);
                string line = Bench.FirstLine();
                Harness.Equal("error at column 5: there is no public type '" + one[1] + "'" +
                                  (isThere ? "" : "; this runtime has no " + one[0] + ", where it belongs"), line, one[1]);
            }
        }

        public static void AUsingGivesShortNames()
        {
            Bench.Start();
            Bench.Expect("create", "s = StringBuilder(\"x\")", 12, "error at column 5: there is no public type 'StringBuilder'; did you mean System.Text.StringBuilder?");
            Bench.Expect("set", "using System.Text", 5, "using System.Text");
            Bench.Expect("create", "s = StringBuilder(\"x\")", 8, "s = System.Text.StringBuilder \"x\"");
            Bench.Expect("set", "using System.Collections.Generic", 5, null);
            Bench.Expect("create", "l = List<StringBuilder> { s, new StringBuilder(\"y\") }", 8, null);
            Bench.Expect("get", "Encoding.UTF8.WebName", 5, "=> string \"utf-8\"");
            Bench.Expect("set", "using Map = System.Collections.Generic.Dictionary<string, int>", 5, "using Map = System.Collections.Generic.Dictionary<string, int>");
            Bench.Expect("create", "m = Map { { \"a\", 1 } }", 8, "m = System.Collections.Generic.Dictionary<string, int> (1) { \"a\": 1 }");
            Bench.Expect("invoke", "System.Text.Encoding.GetEncoding(\"utf-8\")", 10, null);
            // A full name goes before; an instance before all.
            Bench.Expect("get", "OrvTest.Color.Green", 5, null);
            Bench.Expect("create", "Encoding = OrvTest.Data()", 8, null);
            Bench.Expect("get", "Encoding.Field", 5, "=> int 1");
            Bench.Expect("set", "using OrvTest", 5, null);
            Bench.Expect("set", "using OrvTest", 5, null);
            Bench.Expect("get", "Color.Green", 5, null);
            Bench.Expect("create", "x = Colour()", 12, "error at column 5: there is no public type 'Colour'; did you mean OrvTest.Color?");
            Bench.Expect("set", "using Nope", 4, "error at column 7: there is no namespace 'Nope' with public types");
            Bench.Expect("set", "using N = OrvTest.Nope", 12, null);
            Bench.Expect("set", "using", 4, null);
            Bench.Expect("set", "using OrvTest x", 4, null);
            Bench.Expect("delete", "using OrvTest", 5, "no longer using OrvTest");
            Bench.Expect("delete", "using OrvTest", 4, "error at column 7: there is no using of 'OrvTest'");
            Bench.Expect("delete", "using Map", 5, null);
            Bench.Expect("get", "Color.Green", 4, null);
            // "using" is a name all the same.
            Bench.Expect("create", "using = OrvTest.Data()", 8, null);
            Bench.Expect("set", "using.Field = 3", 5, null);
            Bench.Expect("delete", "using", 5, "deleted using");
            CInvoke.Reset("");
            Bench.Printed();
            Bench.Expect("create", "s = StringBuilder(\"x\")", 12, null);
        }

        public static void TwoUsingsWithOneNameAreTold()
        {
            Bench.Start();
            Bench.Expect("set", "using System.Timers", 5, null);
            Bench.Expect("set", "using System.Threading", 5, null);
            Bench.Expect("create", "t = Timer(1.0)", 3, "error at column 5: 'Timer' may be System.Timers.Timer or System.Threading.Timer");
        }

        public static void AnUnknownTypeNamesWhatIsLikeIt()
        {
            Bench.Start();
            Bench.Expect("create", "x = OrvTest.Overlods()", 12, "error at column 5: there is no public type 'OrvTest.Overlods'; did you mean OrvTest.Overloads?");
            Bench.Expect("create", "x = System.Text.StringBuildr()", 12, "error at column 5: there is no public type 'System.Text.StringBuildr'; did you mean System.Text.StringBuilder?");
            Bench.Expect("create", "x = System.Texts.StringBuilder()", 12, "error at column 5: there is no public type 'System.Texts.StringBuilder'; did you mean System.Text.StringBuilder?");
            // Any file beside the library will do.
            string file = Path.Combine(Harness.Folder, "Unloaded.Lib.dll");
            File.WriteAllText(file, "");
            Bench.Expect("create", "x = Unloaded.Lib.Thing()", 12, "error at column 5: there is no public type 'Unloaded.Lib.Thing'; Unloaded.Lib may have it: load " + file);
            File.Delete(file);
        }

        public static void TheDispatcherItselfIsOutOfReach()
        {
            Bench.Start();
            string own = typeof(CInvoke).Assembly.Location;
            Bench.Expect("load", own, 2, "error at column 1: this is the dispatcher itself, which commands cannot reach");
            Bench.Expect("load", typeof(CInvoke).Assembly.GetName().Name, 2, null);
            Bench.Expect("invoke", "OrvWorkBench.CInvoke.Reset(\"\")", 12, null);
            Bench.Expect("invoke", "[DispatcherTest]OrvWorkBench.CInvoke.Reset(\"\")", 11, null);
            Bench.Expect("invoke", "t = System.Type.GetType(\"OrvWorkBench.CInvoke, DispatcherTest\")", 1,
                         "error at column 17: this belongs to the dispatcher, which commands cannot reach");
            Bench.Expect("invoke", "t.GetMethod(\"Reset\")", 1, "error at column 1: there is no instance and no type 't'");
            Bench.Expect("invoke", "System.Activator.CreateInstance(t)", 1, null);
            Bench.Expect("create", "x = OrvWorkBench.CInvok()", 12, "error at column 5: there is no public type 'OrvWorkBench.CInvok'");
            Bench.Expect("set", "using OrvWorkBench", 4, "error at column 7: there is no namespace 'OrvWorkBench' with public types");
            Bench.Expect("create", "b = OrvTest.Bell()", 8, null);
            Bench.Expect("get", "b", 5, null);
        }

        public static void AFileThatChangedIsTold()
        {
            Bench.Start();
            string built = CopyOfRebuilt("first", new DateTime(2001, 2, 3));
            string file = CopyOfRebuilt("second", new DateTime(2002, 3, 4));
            Bench.Do("load", built);
            Bench.Printed();
            // Another file with the same assembly.
            Bench.Do("load", file);
            string printed = Bench.Printed();
            Harness.True(printed.EndsWith("\n  the process has it from " + built + " already and keeps that; end the workbench and start it again to load this one"), printed);
            File.SetLastWriteTimeUtc(built, new DateTime(2003, 4, 5));
            Harness.Equal(7, Bench.Do("load", built), "rebuilt");
            printed = Bench.Printed();
            Harness.True(printed.EndsWith("\n  the file has changed since, but the process keeps what it has; end the workbench and start it again to load this one"), printed);
            CInvoke.Reset("");
            Bench.Printed();
            Harness.Equal(6, Bench.Do("load", built), "after a reset");
            Harness.True(Bench.Printed().Contains("\n  the file has changed since"), "after a reset");
        }

        private static string CopyOfRebuilt(string folder, DateTime written)
        {
            string path = Path.Combine(Path.Combine(Harness.Folder, "rebuilt"), folder);
            Directory.CreateDirectory(path);
            string file = Path.Combine(path, "Rebuilt.dll");
            File.Copy(Path.Combine(Harness.Folder, "rebuilt/Rebuilt.dll"), file, true);
            File.SetLastWriteTimeUtc(file, written);
            return file;
        }
    }

    // Run with the real standard output, which its commands close, replace and fill.
    internal static class OutputTests
    {
        public static void NothingMutesTheDispatcher()
        {
            CInvoke.LoadAssembly(Path.Combine(Harness.Folder, "TestLibrary.dll"));
            CInvoke.Invoke("System.Console.Out.Close()");
            CInvoke.Invoke("OrvTest.StaticClass.Twice(1)");
            CInvoke.Invoke("System.Console.OpenStandardOutput().Close()");
            CInvoke.Invoke("OrvTest.StaticClass.Twice(2)");
            CInvoke.Invoke("System.Console.SetOut(System.IO.TextWriter.Null)");
            CInvoke.Invoke("OrvTest.StaticClass.Twice(3)");
            CInvoke.CreateType("f = System.IO.FileStream(new System.IntPtr(1), System.IO.FileAccess.Write)");
            CInvoke.Invoke("f.Close()");
            CInvoke.Invoke("OrvTest.StaticClass.Twice(4)");
        }
    }
}
