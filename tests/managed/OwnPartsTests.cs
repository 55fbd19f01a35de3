using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // The roads from a command to the dispatcher's own types and objects. (Here they are part of the test program.)
    internal static class OwnPartsTests
    {
        private const string c_message = "this belongs to the dispatcher, which commands cannot reach";
        private const string c_type = "System.Type.GetType(\"OrvWorkBench.Session, DispatcherTest\")";
        private const string c_assembly = "System.Reflection.Assembly.Load(\"DispatcherTest\")";

        // Refused, with the column where the value comes from; nothing is kept.
        private static void Refused(string command, string text, int code, int column)
        {
            Bench.Expect(command, text, code, "error at column " + column + ": " + c_message);
        }

        public static void WhatACallGivesIsRefused()
        {
            Bench.Start();
            foreach (string call in new string[] {
                         c_type, c_assembly,
                         "System.AppDomain.CurrentDomain.Load(\"DispatcherTest\")",
                         "System.Reflection.Assembly.GetAssembly(" + c_type + ")",
                         "System.Reflection.Assembly.LoadFile(\"" + typeof(CInvoke).Assembly.Location + "\")",
                         "System.Reflection.Assembly.Load(System.IO.File.ReadAllBytes(\"" + typeof(CInvoke).Assembly.Location + "\"))",
                         "System.Reflection.Assembly.ReflectionOnlyLoadFrom(\"" + typeof(CInvoke).Assembly.Location + "\")",
                         "System.Reflection.Assembly.GetEntryAssembly()" })
            {
                Harness.Equal(1, Bench.Do("invoke", "x = " + call), call);
                Harness.True(Bench.FirstLine().EndsWith(": " + c_message), call);
                Bench.Expect("get", "x", 4, null);
                Bench.Expect("get", "$", 4, "error at column 1: there is no last result yet");
                Harness.Equal(4, Bench.Do("get", "x = (object)" + call), call);
                Harness.True(Bench.FirstLine().EndsWith(": " + c_message), call);
                // Nor does it serve as what a member is asked of, or as an argument.
                Harness.Equal(1, Bench.Do("invoke", call + ".ToString()"), call);
                Harness.True(Bench.FirstLine().EndsWith(": " + c_message), call);
                Harness.Equal(1, Bench.Do("invoke", "object.ReferenceEquals(1, " + call + ")"), call);
                Harness.True(Bench.FirstLine().EndsWith(": " + c_message), call);
            }
            Refused("invoke", c_type, 1, 13);
            Refused("get", "(System.Type)" + c_type, 4, 26);
        }

        public static void NoMemberGivesIt()
        {
            Bench.Start();
            Bench.Expect("create", "f = OrvTest.Finder(\"OrvWorkBench.Session, DispatcherTest\")", 8, "f = OrvTest.Finder");
            Refused("get", "f.Field", 4, 3);
            Refused("get", "f.Property", 4, 3);
            Refused("get", "f[0]", 4, 2);
            Refused("invoke", "f.Method()", 1, 3);
            Refused("invoke", "f.Callback()", 1, 3);
            Refused("get", "x = (System.Type)f", 4, 5);
            Refused("get", "(object)(-f)", 4, 10);
            Refused("get", "(object)(f | f)", 4, 12);
            Refused("set", "f.Field = f.Property", 4, 13);
            Refused("get", "f.Property.Assembly", 4, 3);
            Refused("get", "f.Types[1]", 4, 8);
            Refused("invoke", "walk(f.Types[1])", 1, 13);
            Refused("create", "x = new object[] { f.Property }", 3, 22);
            Refused("invoke", "f.Method().GetMethods()", 1, 3);
            Refused("invoke", "System.Activator.CreateInstance(f.Property)", 1, 35);
            Refused("invoke", "f.Out(out name, out found)", 1, 3);
            Bench.Expect("get", "found", 4, null);
            Bench.Expect("get", "name", 4, null);
            Bench.Expect("get", "o = (object)5", 5, null);
            Refused("invoke", "f.Ref(ref o)", 1, 3);
            Bench.Expect("get", "o", 5, "=> int 5");
            foreach (string kind in new string[] { "object", "method", "parameter", "constructor", "field", "module", "assembly", "array",
                                                   "array's type", "reference", "list", "list's type", "map of lists" })
                Refused("invoke", "f.Part(\"" + kind + "\")", 1, 3);
            Bench.Expect("get", "$", 5, "=> int 5");
        }

        public static void TheOpenTypeIsForItsQuestionsAlone()
        {
            Bench.Start();
            Bench.Expect("invoke", "OrvWorkBench.Look.Instances()", 10, null);
            Refused("get", "(object)typeof(OrvWorkBench.Look)", 4, 9);
            Refused("invoke", "typeof(OrvWorkBench.Look).GetMethods()", 1, 1);
            Refused("create", "x = OrvWorkBench.Look[] {}", 3, 5);
            Refused("create", "x = System.Collections.Generic.List<OrvWorkBench.Look>()", 3, 5);
            Refused("get", "typeof(System.Collections.Generic.List<OrvWorkBench.Look[]>).Assembly", 4, 1);
        }

        // A handler that the dispatcher added may be seen and called, for it prints a line; there is no way behind it.
        public static void AWatchIsADelegateAndNoMore()
        {
            Bench.Start();
            Bench.Expect("create", "h = OrvTest.Handlers()", 8, null);
            Bench.Expect("set", "h.Raised += watch", 5, null);
            Bench.Expect("invoke", "all = h.All()", 10, null);
            Bench.Expect("invoke", "all(h, null)", 10, "event Raised(OrvTest.Handlers, null)");
            Refused("get", "all.Target", 4, 5);
            Refused("get", "all.Method", 4, 5);
            Refused("get", "((System.Delegate)all.GetInvocationList()[0]).Target", 4, 47);
        }

        public static void AStackTraceIsText()
        {
            Bench.Start();
            Bench.Expect("create", "s = System.Diagnostics.StackTrace()", 8, null);
            int refused = 0;
            for (int i = 0; i < 12; ++i)
            {
                int code = Bench.Do("invoke", "s.GetFrame(" + i + ").GetMethod()");
                string line = Bench.FirstLine();
                refused += code == 1 ? 1 : 0;
                Harness.True(code == 1 ? line.EndsWith(c_message) : !line.Contains("OrvWorkBench"), line);
            }
            Harness.True(refused > 3, "frames of the dispatcher");
        }

        public static void WhatIsListedHasNoWayIn()
        {
            Bench.Start();
            Bench.Expect("invoke", "all = System.AppDomain.CurrentDomain.GetAssemblies()", 10, null);
            string name = typeof(CInvoke).Assembly.GetName().Name;
            int refused = 0;
            for (int i = 0; i < System.AppDomain.CurrentDomain.GetAssemblies().Length; ++i)
            {
                int code = Bench.Do("get", "all[" + i + "].FullName");
                string line = Bench.FirstLine();
                refused += code == 4 ? 1 : 0;
                Harness.True(code == 4 ? line.EndsWith(c_message) : !line.Contains("\"" + name + ","), line);
            }
            Harness.True(refused >= 1, "the dispatcher's");
            // To look at it shows its name and goes no deeper.
            Bench.Do("invoke", "OrvWorkBench.Look.Dump(\"all\", 2)");
            Harness.True(!Bench.Printed().Contains("OrvWorkBench.Session"), "its types");
            Bench.Expect("invoke", "OrvWorkBench.Look.Dump(\"System.Type.GetType(\\\"OrvWorkBench.Session, " + name + "\\\")\")", 1, "error: " + c_message);
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"System.Type.GetType(\\\"OrvWorkBench.Session, " + name + "\\\")\")", 1, "error: " + c_message);
            Bench.Expect("invoke", "OrvWorkBench.Look.Types(\"OrvWorkBench.*\")", 10, "  0 public types");
        }

        // The called code may look at what a collection holds; a command gets none of it.
        public static void WhatACollectionHoldsIsShownAndNotGiven()
        {
            Bench.Start();
            string made = "System.Array.ConvertAll(new string[] {\"OrvWorkBench.Session, DispatcherTest\"}, System.Type.GetType)";
            Bench.Expect("invoke", "types = " + made, 10, "types = System.Type[] (1) { OrvWorkBench.Session }");
            Refused("get", "types[0]", 4, 6);
            Bench.Expect("invoke", "System.Array.IndexOf(types, null)", 10, "=> int -1");
            Bench.Expect("invoke", "walk(types)", 10, "  [0] OrvWorkBench.Session");
            Bench.Expect("create", "f = OrvTest.Finder(\"OrvWorkBench.Session, DispatcherTest\")", 8, null);
            Bench.Expect("invoke", "walk(f.Sequence())", 10, "  [0] OrvWorkBench.Session");
            Bench.Expect("invoke", "f.Give(OrvTest.Finder.NameOf)", 10, "=> void");
        }

        public static void ATypeThatSaysNothingIsNoReasonToFail()
        {
            Bench.Start();
            Harness.Equal(8, Bench.Do("create", "m = OrvTest.MuteType()"), "made");
            Harness.True(Bench.FirstLine().StartsWith("m = System.Type (its name raised System."), "shown");
        }
    }
}
