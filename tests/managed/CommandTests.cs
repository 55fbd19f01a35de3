using System;
using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // Loading, results, exceptions, events and the state that commands leave behind.
    internal static class CommandTests
    {
        private static string InFolder(string file)
        {
            return Path.Combine(Harness.Folder, file);
        }

        public static void EveryResultCodeHasItsCase()
        {
            Bench.Start();
            Bench.Expect("create", "b = OrvTest.Bell()", 8, null);
            Bench.Expect("set", "b.Missing += watch", 0, null);
            Bench.Expect("invoke", "b.Missing()", 1, null);
            File.WriteAllText(InFolder("text.dll"), "no assembly");
            Bench.Expect("load", InFolder("text.dll"), 2, null);
            Bench.Expect("create", "x = OrvTest.Abstract()", 3, null);
            Bench.Expect("get", "b.Missing", 4, null);
            Bench.Expect("delete", "b", 5, null);
            Bench.Expect("load", InFolder("Twin.dll"), 6, null);
            Bench.Expect("load", InFolder("Twin.dll"), 7, null);
            Bench.Expect("create", "b = OrvTest.Bell()", 8, null);
            Bench.Expect("create", "b = OrvTest.Bell()", 9, null);
            Bench.Expect("invoke", "b.Ring()", 10, null);
            Bench.Expect("load", InFolder("missing.dll"), 11, null);
            Bench.Expect("create", "x = OrvTest.Missing()", 12, null);
            Bench.Expect("invoke", "OrvTest.BadMessage.Throw()", 13, null);
            Harness.Equal(5, CInvoke.OrvBreakPoint(""), "breakpoint");
            Harness.Equal(5, CInvoke.OrvBreakPoint(null), "breakpoint");
        }

        // What is prepared for a debugger is prepared when there is one.
        public static void TheBreakpointStepAllocatesNothingWithoutADebugger()
        {
            Bench.Start();
            Bench.Expect("create", "b = OrvTest.Bell()", 8, null);
            GC.Collect();
            int collections = GC.CollectionCount(0);
            for (int i = 0; i < 1000000; ++i)
                CInvoke.OrvBreakPoint("");
            Harness.Equal(collections, GC.CollectionCount(0), "collections");
        }

        public static void LoadingSaysWhatItFound()
        {
            Bench.Start();
            Harness.Equal(6, Bench.Load("Twin.dll"), "load");
            Harness.Equal("loaded Twin, Version=0.0.0.0, Culture=neutral, PublicKeyToken=null\n  from " + InFolder("Twin.dll") +
                              "\n  1 public type", Bench.Printed(), "load");
            Harness.Equal(7, Bench.Load("Twin.dll"), "again");
            Harness.Equal("already loaded: Twin, Version=0.0.0.0, Culture=neutral, PublicKeyToken=null", Bench.Printed(), "again");
            Bench.Expect("load", "System.Xml", 6, null);
            Bench.Expect("load", "System.Xml", 7, null);
            Bench.Expect("load", "No.Such.Assembly", 11, null);
            Bench.Expect("load", "No.Such, Version=1.0.0.0, Culture=neutral, PublicKeyToken=null", 11, null);
            Bench.Expect("load", "Bad, Version=x", 2, null);
            Bench.Expect("load", "", 2, "error: expected an assembly's path or display name");
            Bench.Expect("load", Harness.Folder, 2, "error at column 1: \"" + Harness.Folder + "\" is a folder");
        }

        // The runtimes say different things of it, or that it is not there.
        public static void AFileThatCannotBeReadIsNoMissingOne()
        {
            Bench.Start();
            string path = InFolder("Kept.dll");
            File.Copy(InFolder("Twin.dll"), path, true);
            using (new FileStream(path, FileMode.Open, FileAccess.ReadWrite, FileShare.None))
            {
                Harness.Equal(2, CInvoke.LoadAssembly(path), "load");
                string printed = Bench.FirstLine();
                Harness.True(printed.StartsWith("error at column 1: cannot read \"" + path + "\" ("), printed);
            }
            Bench.Expect("load", path, 6, null);
        }

        public static void RelativePathsMeanTheCurrentFolder()
        {
            Bench.Start();
            string before = Directory.GetCurrentDirectory();
            Directory.SetCurrentDirectory(InFolder("apart"));
            try
            {
                Bench.Expect("load", "Helper.dll", 6, null);
                Bench.Expect("load", "..\\Twin.dll", 6, null);
                Bench.Expect("load", "./helper.DLL", 7, null);
            }
            finally
            {
                Directory.SetCurrentDirectory(before);
            }
        }

        public static void FoldersAndFilesMayHaveAnyName()
        {
            Bench.Start();
            string folder = InFolder("\u00E4 \u4E2D");
            Directory.CreateDirectory(folder);
            File.Copy(InFolder("Twin.dll"), Path.Combine(folder, "T \u00FC.dll"), true);
            Bench.Expect("load", "\"" + Path.Combine(folder, "T \u00FC.dll") + "\"", 6, null);
        }

        public static void DependenciesAreFoundBesideTheLoadedAssembly()
        {
            Bench.Start();
            Harness.Equal(6, Bench.Load("apart/Dependent.dll"), "load");
            Bench.Printed();
            Bench.Expect("create", "d = OrvTest.Dependent()", 8, null);
            Bench.Expect("invoke", "d.Ask()", 10, "=> string \"from the helper\"");
        }

        public static void AMissingDependencyIsAnErrorWhereItIsNeeded()
        {
            Bench.Start();
            Harness.Equal(6, Bench.Load("orphan/Orphan.dll"), "load");
            // The types that need nothing are counted and usable.
            Harness.True(Bench.Printed().EndsWith("\n  2 public types"), "two types can be loaded");
            Bench.Expect("create", "i = OrvTest.Independent()", 8, null);
            Bench.Expect("create", "d = OrvTest.Dependent()", 8, null);
            Bench.Expect("invoke", "d.Ask()", 13, null);
            Harness.Equal(3, Bench.Do("create", "h = OrvTest.DerivedFromHelper()"), "a base class is missing");
            string line = Bench.FirstLine();
            Harness.True(line.StartsWith("error: the type 'OrvTest.DerivedFromHelper' cannot be loaded: ") && line.Contains("Gone"), line);
        }

        public static void AnExceptionIsShownWithItsCausesAndStack()
        {
            Bench.Start();
            Bench.Expect("create", "f = OrvTest.Failing()", 8, null);
            Bench.Printed();
            Harness.Equal(13, CInvoke.CreateType("g = OrvTest.Failing(\"why\")"), "create");
            string[] lines = Bench.Printed().Split('\n');
            Harness.Equal("exception System.ArgumentException: why", lines[0], "first");
            Harness.True(lines[1].StartsWith("    at OrvTest.Failing..ctor (System.String message)"), lines[1]);
            Harness.Equal("  caused by System.InvalidOperationException: inner", lines[2], "inner");
            Harness.Equal(3, lines.Length, "no frames of the dispatcher");
            Bench.Expect("invoke", "f.Method()", 13, "exception System.InvalidOperationException: method");
            Bench.Expect("get", "f.Property", 13, "exception System.InvalidOperationException: getter");
            Bench.Expect("set", "f.Property = 1", 13, "exception System.InvalidOperationException: setter");
            Bench.Expect("get", "f[1]", 13, "exception System.InvalidOperationException: indexer");
            Bench.Expect("set", "f.Event += watch", 13, "exception System.InvalidOperationException: add");
            Bench.Expect("invoke", "OrvTest.BadStatic.Touch()", 13, null);
            Bench.Expect("get", "OrvTest.BadStatic.Value", 13, null);
            Bench.Expect("invoke", "OrvTest.BadMessage.Throw()", 13, "exception OrvTest.BadMessage (its Message raises)");
            Bench.Expect("invoke", "f.Abort()", 13, "exception System.Threading.ThreadAbortException: Thread was being aborted.");
            Bench.Expect("invoke", "int.Parse(\"x\")", 13, null);
            Bench.Expect("invoke", "System.Math.Abs(int.Parse(\"x\"))", 13, null);
            Bench.Expect("set", "f.Property = int.Parse(\"x\")", 13, null);
            Bench.Expect("invoke", "f.ToString()", 13, "exception System.InvalidOperationException: text");
        }

        // The program's configuration, which lies beside this one too, keeps the process alive.
        public static void AnExceptionOnAnotherThreadEndsNoProcess()
        {
            Bench.Start();
            Bench.Expect("invoke", "OrvTest.Threads.Fail()", 10, null);
            Bench.Expect("invoke", "OrvTest.StaticClass.Twice(1)", 10, "=> int 2");
        }

        public static void ResultsAreKept()
        {
            Bench.Start();
            Bench.Expect("get", "$", 4, "error at column 1: there is no last result yet");
            Bench.Expect("invoke", "OrvTest.StaticClass.Twice(4)", 10, "=> int 8");
            Bench.Expect("invoke", "OrvTest.StaticClass.Twice($)", 10, "=> int 16");
            Bench.Expect("get", "$", 5, "=> int 16");
            Bench.Expect("invoke", "r = OrvTest.StaticClass.Twice(5)", 10, "r = int 10");
            Bench.Expect("invoke", "r = OrvTest.StaticClass.Twice(6)", 9, "exists: r = int 10");
            Bench.Expect("get", "$", 5, "=> int 10");
            Bench.Expect("get", "r = OrvTest.Color.Red", 9, "exists: r = int 10");
            Bench.Expect("create", "o = OrvTest.Overloads()", 8, null);
            Bench.Expect("invoke", "v = o.Nothing()", 10, "=> void; nothing to keep as v");
            Bench.Expect("get", "v", 4, null);
            // A failed command keeps nothing.
            Bench.Expect("invoke", "w = int.Parse(\"x\")", 13, null);
            Bench.Expect("get", "w", 4, null);
            Bench.Expect("get", "$", 5, "=> int 10");
        }

        public static void DeleteAndResetForget()
        {
            Bench.Start();
            Bench.Expect("create", "a = OrvTest.Bell()", 8, null);
            Bench.Expect("create", "b = OrvTest.Bell()", 8, null);
            Bench.Expect("delete", "a", 5, "deleted a");
            Bench.Expect("delete", "a", 4, "error at column 1: there is no instance 'a'");
            Bench.Expect("delete", "B", 4, "error at column 1: there is no instance 'B'; did you mean b?");
            Bench.Expect("create", "a = OrvTest.Bell()", 8, null);
            Bench.Expect("get", "OrvTest.Color.Red", 5, null);
            Bench.Expect("reset", "any text", 5, "reset: forgot 2 instances and 1 loaded assembly");
            Bench.Expect("get", "b", 4, "error at column 1: there is no instance and no type 'b'; no assembly is loaded yet");
            Bench.Expect("get", "$", 4, "error at column 1: there is no last result yet");
            Bench.Expect("reset", "", 5, "reset: forgot 0 instances and 0 loaded assemblies");
            Harness.Equal(6, Bench.Load("TestLibrary.dll"), "loaded again");
            // What is built on may stay in the process, but is found again only as others are.
            Bench.Printed();
            Bench.Expect("create", "a = OrvTest.Bell()", 8, null);
        }

        public static void WatchedEventsArePrinted()
        {
            Bench.Start();
            Bench.Expect("create", "b = OrvTest.Bell()", 8, null);
            Bench.Expect("invoke", "b.Ring()", 10, "=> void");
            Bench.Expect("set", "b.Rang += watch", 5, "watching Rang");
            Bench.Expect("set", "b.Rang += watch", 4, "error at column 3: the event 'Rang' is watched already");
            Bench.Expect("invoke", "b.Ring()", 10, "event Rang(OrvTest.Bell \"bell\", System.EventArgs)");
            Bench.Expect("set", "b.Struck += watch", 5, null);
            Bench.Expect("invoke", "b.Strike(\"x\")", 10, "event Struck(string \"x\", int 2, OrvTest.Color Blue (6))");
            Bench.Expect("set", "OrvTest.Bell.Everywhere += watch", 5, null);
            Bench.Expect("invoke", "OrvTest.Bell.RingEverywhere()", 10, "event Everywhere(null, System.EventArgs)");
            Bench.Expect("set", "b.Rang -= watch", 5, "no longer watching Rang");
            Bench.Expect("invoke", "b.Ring()", 10, "=> void");
            Bench.Expect("set", "b.Rang -= watch", 4, "error at column 3: the event 'Rang' is not watched");
            Bench.Expect("set", "b.Five += watch", 4, null);
            Bench.Expect("set", "b.Asked += watch", 4, null);
            Bench.Expect("invoke", "b.IsUnused()", 10, "=> bool true");
            Bench.Expect("set", "b.Everywhere += watch", 0, "error at column 3: 'OrvTest.Bell' has no public instance event 'Everywhere'");
            Bench.Expect("set", "OrvTest.Bell.Rang += watch", 0, null);
            Bench.Expect("set", "b.Rang += other", 4, "error at column 11: expected watch after '+='");
            Bench.Expect("set", "b.Rang += 5", 4, "error at column 11: expected watch after '+='");
            Bench.Expect("set", "b.Rang += [TestLibrary]watch", 4, null);
            Bench.Expect("set", "b.Rang -= b.watch", 4, "error at column 13: expected watch after '-='");
            Bench.Expect("set", "b.Rang = null", 4, null);
            Bench.Expect("set", "nobody.Rang += watch", 4, null);
            // An event that a class overrides is one event.
            Bench.Expect("create", "f = OrvTest.Fancy()", 8, null);
            Bench.Expect("set", "f.Changed += watch", 5, "watching Changed");
            Bench.Expect("set", "((OrvTest.Plain)f).Changed += watch", 4, "error at column 20: the event 'Changed' is watched already");
            Bench.Expect("invoke", "f.Raise()", 10, "event Changed(OrvTest.Fancy, System.EventArgs)");
            Bench.Expect("set", "((OrvTest.Plain)f).Changed -= watch", 5, "no longer watching Changed");
            Bench.Expect("invoke", "f.Raise()", 10, "=> void");
            // Reset takes the watches off, those of static events too.
            CInvoke.Reset("");
            Bench.Load("TestLibrary.dll");
            Bench.Printed();
            Bench.Expect("invoke", "OrvTest.Bell.RingEverywhere()", 10, "=> void");
        }

        public static void ErrorsPointIntoTheText()
        {
            Bench.Start();
            CInvoke.Invoke("OrvTest.StaticClass.Twice(1 2)");
            Harness.Equal("error at column 29: expected ',' or ')' but found '2'\n  OrvTest.StaticClass.Twice(1 2)\n" +
                              "                              ^", Bench.Printed(), "short text");
            CInvoke.Invoke("OrvTest.StaticClass\t.Nope()");
            Harness.Equal("error at column 22: 'OrvTest.StaticClass' has no public static method 'Nope'\n" +
                              "  OrvTest.StaticClass .Nope()\n                       ^", Bench.Printed(), "a tab");
            string text = "OrvTest.StaticClass.Twice(" + new string(' ', 300) + "x" + new string(' ', 300) + ")";
            CInvoke.Invoke(text);
            string[] lines = Bench.Printed().Split('\n');
            Harness.Equal("error at column 327: there is no instance and no type 'x'", lines[0], "long text");
            Harness.Equal(lines[1].IndexOf('x'), lines[2].IndexOf('^'), "the mark's column");
            Harness.True(lines[1].Length < 120, "the echo is cut");
        }

        public static void UserCodeMayRedirectTheConsole()
        {
            Bench.Start();
            TextWriter before = Console.Out;
            Bench.Expect("invoke", "System.Console.SetOut(System.IO.TextWriter.Null)", 10, "=> void");
            Bench.Expect("invoke", "OrvTest.StaticClass.Twice(1)", 10, "=> int 2");
            Console.SetOut(before);
        }

        public static void AClosedConsoleFailsNoCommand()
        {
            Bench.Start();
            StringWriter closed = new StringWriter();
            closed.Close();
            Output.Writer = closed;
            Harness.Equal(10, CInvoke.Invoke("OrvTest.StaticClass.Twice(1)"), "closed");
            Harness.Equal(1, CInvoke.Invoke("OrvTest.StaticClass.Twice("), "closed");
            Harness.Equal(13, CInvoke.Invoke("int.Parse(\"x\")"), "closed");
            Bench.Printed();
        }

        public static void NullTextsAreMalformed()
        {
            Harness.Equal(2, CInvoke.LoadAssembly(null), "load");
            Harness.Equal(3, CInvoke.CreateType(null), "create");
            Harness.Equal(1, CInvoke.Invoke(null), "invoke");
            Harness.Equal(4, CInvoke.GetProperty(null), "get");
            Harness.Equal(4, CInvoke.SetProperty(null), "set");
            Harness.Equal(4, CInvoke.Delete(null), "delete");
            Harness.Equal(5, CInvoke.Reset(null), "reset");
        }
    }

    // Run without the configuration: the process ends, but not without a word. (Under Mono the configuration keeps the
    // exception from being reported at all.)
    internal static class UnhandledTests
    {
        public static void AnExceptionOnAnotherThreadIsShown()
        {
            Bench.Load("TestLibrary.dll");
            CInvoke.Invoke("OrvTest.Threads.Fail()");
            Harness.True(false, "the process still runs");
        }
    }
}
