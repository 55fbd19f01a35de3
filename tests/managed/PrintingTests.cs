using OrvWorkBench;

namespace OrvTest
{
    // A look at a value changes nothing, and what is cut off says how to see the rest.
    internal static class PrintingTests
    {
        private static void Prints(string command, string text, int code, string printed)
        {
            Harness.Equal(code, Bench.Do(command, text), command + " " + text);
            Harness.Equal(printed, Bench.Printed(), command + " " + text);
        }

        public static void WhatCanBeReadOnceIsNotReadToBePrinted()
        {
            Bench.Start();
            Prints("create", "r = OrvTest.Reader()", 8, "r = OrvTest.Reader (a sequence of object, not read)\n  to read it: invoke walk(r)");
            Prints("get", "r.Left", 5, "=> int 3");
            Prints("invoke", "walk(r, 0, 2)", 10, "  [0] \"row 3\"\n  [1] \"row 2\"\n  2 read; there may be more from 2 on\n=> void");
            Prints("invoke", "walk(r)", 10, "  [0] \"row 1\"\n  1 read, to the end\n=> void");
            Prints("get", "$", 5, "=> int 3");
            Prints("create", "b = OrvTest.Blocking()", 8, "b = OrvTest.Blocking \"a queue\" (a sequence of int, not read)\n  to read it: invoke walk(b)");
            Prints("create", "h = OrvTest.Holder()", 8, "h = OrvTest.Holder");
            Bench.Do("invoke", "few = h.Few()");
            Harness.True(Bench.Printed().EndsWith(" (a sequence of int, not read)\n  to read it: invoke walk(few)"), "an iterator");
            Prints("create", "all = System.Collections.Generic.List<int>(few)", 8, "all = System.Collections.Generic.List<int> (2) { 1, 2 }");
            Prints("invoke", "e = all.GetEnumerator()", 10,
                   "e = System.Collections.Generic.List<int>.Enumerator (a sequence of int, not read)\n  to read it: invoke walk(e)");
            Prints("invoke", "walk(e, 0, 1)", 10, "  [0] 1\n  1 read; there may be more from 1 on\n=> void");
            Prints("invoke", "walk(e)", 10, "  [0] 2\n  1 read, to the end\n=> void");
            Prints("invoke", "walk(all.GetEnumerator())", 10, "  [0] 1\n  [1] 2\n  2 read, to the end\n=> void");
        }

        public static void AWalkTakesASequenceAndPlainNumbers()
        {
            Bench.Start();
            Bench.Expect("invoke", "walk(5)", 1, "error at column 6: there is nothing to walk: the value is no sequence");
            Bench.Expect("invoke", "walk()", 1, "error at column 1: expected walk(sequence), walk(sequence, first) or walk(sequence, first, count)");
            Bench.Expect("invoke", "walk({1}, 1, 2, 3)", 1, null);
            Bench.Expect("invoke", "walk(new int[1], -1)", 1, "error at column 18: the number cannot be negative");
            Bench.Expect("invoke", "walk(new int[1], \"a\")", 1, "error at column 18: cannot convert 'string' to 'int'");
            Bench.Expect("invoke", "walk(sequence: new int[1])", 1, "error at column 6: walk takes plain values");
            Bench.Expect("invoke", "x = walk(new int[1])", 10, "  [0] 0");
            Bench.Expect("get", "x", 4, null);
            Bench.Expect("invoke", "walk(new OrvTest.BadList())", 13, "  [0] 1");
            Prints("invoke", "walk(new int[2,2], 1, 2)", 10, "  [0, 1] 0\n  [1, 0] 0\n  2 read; there may be more from 3 on\n=> void");
            Prints("invoke", "walk(new int[1], 2147483647, 2147483647)", 10, "  0 read, to the end\n=> void");
            // An instance of that name is called as any other.
            Bench.Expect("create", "walk = System.Converter<int, string>(OrvTest.Probe.Text)", 8, null);
            Bench.Expect("invoke", "walk(4)", 10, "=> string \"<4>\"");
        }

        public static void WhatIsCutOffSaysHowToSeeTheRest()
        {
            Bench.Start();
            Prints("create", "a = new int[11]", 8, "a = int[] (11) { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }\n  more: invoke walk(a, 10)");
            Prints("invoke", "walk(a, 10)", 10, "  [10] 0\n  1 read, to the end\n=> void");
            Bench.Do("get", "a");
            Harness.True(Bench.Printed().EndsWith("\n  more: invoke walk($, 10)"), "the last result");
            Bench.Do("create", "s = string('x', 501)");
            Harness.True(Bench.Printed().EndsWith(" characters)\n  more: invoke s.Substring(500)"), "a string");
            Prints("invoke", "s.Substring(500)", 10, "=> string \"x\"");
            Bench.Do("create", "t = System.Text.StringBuilder(s)");
            Harness.True(Bench.Printed().EndsWith(" characters)\n  more: invoke t.ToString()"), "a text of its own");
            Prints("create", "n = int[][][][] {{{{1}}}}", 8, "n = int[][][][] (1) { int[][][] (1) { int[][] (1) { int[] (1) { ... } } } }\n  more: invoke walk(n)");
            Bench.Expect("invoke", "walk(n)", 10, "  [0] int[][][] (1) { int[][] (1) { int[] (1) { 1 } } }");
            Bench.Expect("create", "m = new int[1, 11]", 8, "m = int[,] (1, 11) { { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... } }");
            Bench.Do("get", "m");
            Harness.True(Bench.Printed().EndsWith("\n  more: invoke walk($)"), "a block");
        }

        public static void WhatHasNoNameGetsANumberWhenItIsCutOff()
        {
            Bench.Start();
            string start = "string \"" + new string('x', 500) + "\"... (505 characters)";
            Bench.Do("create", "s = string('x', 505)");
            Bench.Do("create", "b = OrvTest.Bell()");
            Bench.Do("create", "g = OrvTest.Giver()");
            Bench.Do("set", "b.Struck += watch");
            Bench.Do("set", "g.Given += watch");
            Bench.Printed();
            // An event's arguments, each of them.
            Prints("invoke", "b.Strike(s)", 10, "event Struck(" + start + ", int 2, OrvTest.Color Blue (6))\n  more: invoke $1.Substring(500)\n=> void");
            Prints("invoke", "$1.Substring(500)", 10, "=> string \"xxxxx\"");
            Prints("invoke", "g.Give(new int[12], s)", 10,
                   "event Given(int[] (12) { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }, " + start + ")\n  more: invoke walk($2, 10)\n  more: invoke $3.Substring(500)\n=> void");
            Prints("invoke", "walk($2, 10)", 10, "  [10] 0\n  [11] 0\n  2 read, to the end\n=> void");
            Prints("invoke", "g.Give(new OrvTest.Reader(), null)", 10,
                   "event Given(OrvTest.Reader (a sequence of object, not read), null)\n  to read it: invoke walk($4)\n=> void");
            Prints("invoke", "walk($4, 2)", 10, "  [2] \"row 1\"\n  1 read, to the end\n=> void");
            // What comes back by reference, with and without a name.
            Prints("invoke", "g.Take(out)", 10, "out text = " + start + "\n  more: invoke $5.Substring(500)\n=> void");
            Prints("invoke", "g.Take(out text)", 10, "out text = " + start + "\n  more: invoke text.Substring(500)\n=> void");
            Prints("invoke", "g.Grow(ref (object)1)", 10,
                   "ref value = int[] (11) { 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }\n  more: invoke walk($6, 10)\n=> void");
            Prints("create", "other = OrvTest.Giver(out)", 8, "out text = " + start + "\n  more: invoke $7.Substring(500)\nother = OrvTest.Giver");
            // What a walk shows.
            Prints("invoke", "walk(new object[] { s, 1, new int[11] })", 10,
                   "  [0] " + start.Substring(7) + "\n  more: invoke $8.Substring(500)\n  [1] 1\n" +
                       "  [2] int[] (11) { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }\n  more: invoke walk($9, 10)\n  3 read, to the end\n=> void");
            Bench.Do("create", "m = System.Collections.Generic.Dictionary<string, object> { { \"a\", s }, { s, 1 } }");
            Bench.Printed();
            Prints("invoke", "walk(m)", 10,
                   "  [0] \"a\": " + start.Substring(7) + "\n  more: invoke $10.Substring(500)\n  [1] " + start.Substring(7) +
                       ": 1\n  more: invoke $11.Substring(500)\n  2 read, to the end\n=> void");
            // The number is a name as any other, and keeps what it stands for.
            Prints("get", "twelve = $2.Length", 5, "twelve = int 12");
            Prints("set", "$2[0] = 5", 5, "$2[0] = int 5");
            Bench.Expect("get", "$2", 5, "=> int[] (12) { 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }");
            Bench.Expect("get", "$12", 4, "error at column 1: there is no '$12'; the last 100 values that were cut off and have no name are kept");
            CInvoke.Reset("");
            Bench.Printed();
            Bench.Expect("get", "$1", 4, null);
        }

        public static void OfWhatIsCutOffTheLastHundredAreKept()
        {
            Bench.Start();
            Bench.Do("create", "l = new int[101][]");
            for (int i = 0; i < 101; ++i)
                Bench.Do("set", "l[" + i + "] = new int[" + (i + 11) + "]");
            Bench.Do("invoke", "walk(l, 0, 101)");
            Harness.True(Bench.Printed().Contains("\n  more: invoke walk($101, 10)\n"), "the last one's name");
            Bench.Expect("get", "$1", 4, null);
            Bench.Expect("get", "$2.Length", 5, "=> int 12");
            Bench.Expect("get", "$101.Length", 5, "=> int 111");
        }

        public static void ANumberMayBeGivenOnAnyThread()
        {
            Bench.Start();
            Bench.Do("create", "g = OrvTest.Giver()");
            Bench.Do("set", "g.Given += watch");
            Harness.Equal(10, Bench.Do("invoke", "g.GiveOnThreads(new int[11], 20)"), "raised");
            string printed = Bench.Printed();
            for (int i = 1; i <= 20; ++i)
                Harness.True(printed.Contains("  more: invoke walk($" + i + ", 10)\n"), "number " + i);
        }

        public static void ArraysKeepTheirShape()
        {
            Bench.Start();
            Prints("create", "a = int[,] {{1, 2}, {3, 4}, {5, 6}}", 8, "a = int[,] (3, 2) { { 1, 2 }, { 3, 4 }, { 5, 6 } }");
            Prints("create", "b = new int[2, 1, 2]", 8, "b = int[,,] (2, 1, 2) { { { 0, 0 } }, { { 0, 0 } } }");
            Prints("create", "c = new int[0, 3]", 8, "c = int[,] (0, 3) { }");
            Prints("create", "d = int[][,] {new int[1,1]}", 8, "d = int[][,] (1) { int[,] (1, 1) { { 0 } } }");
            Prints("invoke", "e = System.Array.CreateInstance(typeof(int), new int[] {1, 2}, new int[] {5, 0})", 10, "e = int[,] (5..5, 2) { { 0, 0 } }");
        }

        public static void ATextThatTellsMoreThanAnEmptyListIsShown()
        {
            Bench.Start();
            Prints("create", "b = OrvTest.Bag()", 8, "b = OrvTest.Bag \"a bag\"");
            Prints("invoke", "b.Add(4)", 10, "=> void");
            Prints("get", "b", 5, "=> OrvTest.Bag (1) { 4 }");
            Prints("create", "l = System.Collections.ArrayList()", 8, "l = System.Collections.ArrayList (0) { }");
        }

        public static void AllCausesAreShown()
        {
            Bench.Start();
            Harness.Equal(13, Bench.Do("invoke", "OrvTest.Several.Throw()"), "several");
            string printed = Bench.Printed();
            string[] expected = { "  caused by (1 of 2) System.ArgumentException: first", "  caused by System.InvalidOperationException: below",
                                  "  caused by (2 of 2) System.NotSupportedException: second" };
            int at = 0;
            foreach (string line in expected)
            {
                at = printed.IndexOf("\n" + line, at, System.StringComparison.Ordinal);
                Harness.True(at >= 0, line + " in\n" + printed);
                at = System.Math.Max(at, 0);
            }
            Bench.Expect("invoke", "OrvTest.Several.ThrowItself()", 13, null);
        }

        public static void AnAbortOfTheThreadEndsWithWhatRaisedIt()
        {
            Bench.Start();
            string[] commands = {
                "create a = OrvTest.Aborting()", "invoke OrvTest.Aborting.List()", "invoke OrvTest.Aborting.Throw()", "get $",
            };
            int[] codes = { 8, 10, 13, 5 };
            for (int i = 0; i < commands.Length; ++i)
            {
                int blank = commands[i].IndexOf(' ');
                Harness.Equal(codes[i], Bench.Do(commands[i].Substring(0, blank), commands[i].Substring(blank + 1)), commands[i] + "\n" + Bench.Printed());
                // The next command answers as ever.
                Bench.Expect("create", "x = No.Such()", 12, null);
                Bench.Expect("create", "x = OrvTest.Abstract()", 3, null);
            }
        }
    }
}
