using System;
using System.Collections.Generic;
using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // What docs/commands.md says, chapter by chapter, where no other test shows it. A row is a command, its text, the
    // result code and the first line that is printed (null: any).
    internal static class StatementTests
    {
        private static void Rows(string[,] rows)
        {
            for (int i = 0; i < rows.GetLength(0); ++i)
                Bench.Expect(rows[i, 0], rows[i, 1], int.Parse(rows[i, 2]), rows[i, 3]);
        }

        private static string InFolder(string file)
        {
            return Path.Combine(Harness.Folder, file);
        }

        public static void Commands()
        {
            Bench.Start();
            Rows(new string[,] {
                { "create", "h = OrvTest.Holder { Text = \"t\", Small = 3 }", "8", "h = OrvTest.Holder" },
                { "get", "h.Text", "5", "=> string \"t\"" },
                { "get", "h.Small", "5", "=> byte 3" },
                { "create", "e = new OrvTest.Holder", "8", "e = OrvTest.Holder" },
                { "create", "a = int[] { 4, 5 }", "8", "a = int[] (2) { 4, 5 }" },
                { "get", "a[1]", "5", "=> int 5" },
                { "get", "(long)a[1]", "5", "=> long 5" },
                { "get", "$", "5", "=> long 5" },
                { "get", "kept = (object)a[0]", "5", "kept = int 4" },
                { "get", "$", "5", "=> int 4" },
                { "get", "a", "5", "=> int[] (2) { 4, 5 }" },
                { "get", "$[0]", "5", "=> int 4" },
                { "invoke", "$.ToString()", "10", "=> string \"4\"" },
                { "get", "$.Length", "5", "=> int 1" },
                { "get", "((System.Collections.ICollection)a).Count", "5", "=> int 2" },
                { "set", "((System.Collections.IList)a)[0] = 9", "5", "((System.Collections.IList)a)[0] = int 9" },
                { "set", "h.Words[0] = \"w\"", "5", "h.Words[0] = string \"w\"" },
                { "get", "h.Words[0]", "5", "=> string \"w\"" },
                { "delete", "h", "5", "deleted h" },
                { "get", "h.Text", "4", null },
                // Of what is no instance, the value stays the last one.
                { "get", "$", "5", "=> string \"w\"" },
                { "delete", "$", "4", null },
                { "set", "a[0] += watch", "4", null },
                { "set", "x = 5", "4", null },
            });
        }

        public static void Assemblies()
        {
            // Nothing inside the quotes is an escape.
            Harness.Equal("C:\\new\\table.dll", Parser.ParseLoad("\"C:\\new\\table.dll\"").Text, "escapes");
            Harness.True(Parser.ParseLoad("a.DLL").IsPath, "an extension in any case");
            Harness.True(!Parser.ParseLoad("a.dll.b").IsPath, "an extension elsewhere");
            // A display name with a version; the first assembly of that name that is loaded is meant.
            Bench.Start();
            Rows(new string[,] {
                { "load", typeof(Uri).Assembly.FullName, "6", "loaded " + typeof(Uri).Assembly.FullName },
                { "load", "\"System\"", "7", "already loaded: " + typeof(Uri).Assembly.FullName },
            });
        }

        public static void EachQuestionIsAListAndLeavesTheLastResult()
        {
            Bench.Start();
            Bench.Do("create", "b = OrvTest.Bell()");
            Bench.Do("get", "OrvTest.Probe.Five");
            foreach (string question in new string[] { "Types()", "Types(\"Bell\")", "Members(\"b\")", "Members(\"b\", \"Ring\")", "Instances()",
                                                       "Find(\"Ring\")", "Dump(\"b\")", "Dump(\"b\", 1)", "Dump(\"b\", 1, 0)" })
            {
                Bench.Printed();
                Harness.Equal(10, Bench.Do("invoke", "OrvWorkBench.Look." + question), question);
                string printed = Bench.Printed();
                Harness.True(printed.StartsWith("  ") && !printed.Contains("=>"), question + " prints " + printed);
                Harness.True(Look.WasAsked, question);
                Bench.Expect("invoke", "kept = OrvWorkBench.Look." + question, 10, null);
                Bench.Expect("get", "kept", 4, null);
                Bench.Expect("get", "$", 5, "=> int 5");
            }
        }

        public static void Questions()
        {
            Bench.Start();
            Bench.Do("create", "f = OrvTest.Fancy()");
            Bench.Printed();
            // Each member under the class that declares it, and no other.
            Asks("Find(\"Twice\")", "  System.Converter<int, int> Twice  // of OrvTest.Fancy\n  string Twice(T a, T b)  // of OrvTest.Overloads\n" +
                                        "  string Twice()  // of OrvTest.Plain\n  static int Twice(int a)  // of OrvTest.StaticClass\n  4 members",
                 "string Twice<T>(T a, T b)", "string Twice(T a, T b)");
            Asks("Find(\"OrvTest.Square ->\")", "  static double operator explicit(OrvTest.Square square)  // of OrvTest.Square\n" +
                                                    "  string Squared(OrvTest.Square a)  // of OrvTest.Overloads\n  2 members", null, null);
            Asks("Find(\"-> Square\")", "  Square(double side)  // of OrvTest.Square\n" +
                                            "  static OrvTest.Square operator implicit(int side)  // of OrvTest.Square\n  2 members", null, null);
            Asks("Find(\"int -> Square\")", "  static OrvTest.Square operator implicit(int side)  // of OrvTest.Square\n  1 member", null, null);
            Bench.Do("invoke", "OrvWorkBench.Look.Members(\"f.Name\", \"CompareTo\")");
            Harness.True(Bench.Printed().EndsWith("\n  int CompareTo(int value)\n  int CompareTo(object value)\n  2 public members"), "of a value");
            // Two deep if nothing else is said, of a collection twenty elements.
            Bench.Do("create", "t = OrvTest.Tree { Left = new OrvTest.Tree { Left = new OrvTest.Tree() } }");
            Bench.Printed();
            Bench.Do("invoke", "OrvWorkBench.Look.Dump(\"t\")");
            string dumped = Bench.Printed();
            Bench.Do("invoke", "OrvWorkBench.Look.Dump(\"t\", 2)");
            Harness.Equal(Bench.Printed(), dumped, "the usual depth");
            Harness.True(dumped.Contains("\n      Left = OrvTest.Tree ..."), dumped);
            Bench.Do("invoke", "OrvWorkBench.Look.Dump(\"t.Numbers\", 1, 20)");
            Harness.Equal("  t.Numbers = int[] (25)\n    [20] = int 0\n    [21] = int 0\n    [22] = int 0\n    [23] = int 0\n    [24] = int 0",
                          Bench.Printed(), "from an element on");
        }

        private static void Asks(string question, string answer, string from, string to)
        {
            Bench.Do("invoke", "OrvWorkBench.Look." + question);
            string printed = Bench.Printed();
            Harness.Equal(Sorted(answer), Sorted(from == null ? printed : printed.Replace(from, to)), question);
        }

        private static string Sorted(string lines)
        {
            string[] sorted = lines.Split('\n');
            Array.Sort(sorted, string.CompareOrdinal);
            return string.Join("\n", sorted);
        }

        public static void Types()
        {
            // What is loaded comes before all else of the process, which has both.
            Bench.Start();
            CInvoke.Reset("");
            Bench.Load("Twin.dll");
            Bench.Printed();
            Bench.Expect("invoke", "OrvTest.Twin.Assembly()", 10, "=> string \"Twin\"");
            Bench.Start();
            Rows(new string[,] {
                { "get", "[\"TestLibrary\"]OrvTest.Color.Green", "5", "=> OrvTest.Color Green (5)" },
                { "create", "x = [\"Test\\x4cibrary\"]OrvTest.Bell()", "8", null },
                { "create", "m = System.Collections.Generic.Dictionary<string, int[]>()", "8", "m = System.Collections.Generic.Dictionary<string, int[]> (0) { }" },
                { "create", "n = int?(5)", "8", "n = int 5" },
                { "create", "o = OrvTest.Outer+Inner.Level", "8", "o = OrvTest.Outer.Inner.Level Low (0)" },
                { "get", "(int[,])new int[1, 2]", "5", "=> int[,] (1, 2) { { 0, 0 } }" },
                { "get", "OrvTest.Outer.Nope", "4", null },
                { "create", "x2 = OrvTest.NotPublic()", "12", null },
            });
            // An assembly that a loaded one needs is named when its name is like the namespace.
            Harness.Equal(6, Bench.Load("orphan/Orphan.dll"), "load");
            Bench.Printed();
            Bench.Expect("create", "y = Gone.Thing()", 12, "error at column 5: there is no public type 'Gone.Thing'; Gone may have it, which Orphan needs: load Gone");
        }

        public static void Values()
        {
            Bench.Start();
            Bench.Do("create", "h = OrvTest.Holder()");
            Bench.Do("create", "d = OrvTest.Data()");
            Bench.Do("create", "o = OrvTest.Overloads()");
            Bench.Printed();
            Rows(new string[,] {
                { "get", "(object)5", "5", "=> int 5" },
                { "get", "(object)3000000000", "5", "=> uint 3000000000" },
                { "get", "(object)5000000000", "5", "=> long 5000000000" },
                { "get", "(object)10000000000000000000", "5", "=> ulong 10000000000000000000" },
                { "get", "(object)0xFFFFFFFFF", "5", "=> long 68719476735" },
                { "get", "(object)5ul", "5", "=> ulong 5" },
                { "get", "(object)5000000000u", "5", "=> ulong 5000000000" },
                { "get", "(object)long.MinValue", "5", "=> long -9223372036854775808" },
                { "get", "(object)-9223372036854775808", "5", "=> long -9223372036854775808" },
                { "get", "(object)-9223372036854775809", "4", null },
                { "get", "(object)-9223372036854775808ul", "4", null },
                { "get", "(object)-2147483648u", "5", "=> long -2147483648" },
                { "get", "(object)-0x80000000", "5", "=> long -2147483648" },
                { "get", "(object)2.50m", "5", "=> decimal 2.50" },
                { "get", "(object)1e-3", "5", "=> double 0.001" },
                { "get", "(object)2.5d", "5", "=> double 2.5" },
                { "set", "d.Small = 5", "5", "d.Small = byte 5" },
                { "get", "(object)\"\\'\\\"\\\\\\0\\a\\b\\f\\n\\r\\t\\v\\x1f\\u00e9\\U0001F600\"", "5",
                  "=> string \"'\\\"\\\\\\0\\a\\b\\f\\n\\r\\t\\v\\u001f\u00e9\U0001F600\"" },
                { "get", "(object)@\"C:\\x \"\"y\"\"\"", "5", "=> string \"C:\\\\x \\\"y\\\"\"" },
                { "get", "(object)(true | false)", "5", "=> bool true" },
                { "get", "(object)(5 | 2u)", "5", "=> uint 7" },
                { "get", "(object)(OrvTest.Access.Read | OrvTest.Access.Write)", "5", "=> OrvTest.Access Read, Write (3)" },
                { "get", "(object)typeof(int)", "5", "=> System.Type int" },
                { "set", "h.Callback = OrvTest.Probe.Double", "5", "h.Callback = System.Converter<int, int> int OrvTest.Probe.Double(int a)" },
                { "invoke", "h.Apply(4)", "10", "=> int 8" },
                // What is in an array that a parameter or a member wants.
                { "set", "d.Grid = {{5, 6, 7}, {8, 9, 10}}", "5", "d.Grid = int[,] (2, 3) { { 5, 6, 7 }, { 8, 9, 10 } }" },
                { "get", "d.Grid[1, 2]", "5", "=> int 10" },
                { "invoke", "string.Join(\"+\", {\"a\", \"b\"})", "10", "=> string \"a+b\"" },
                { "invoke", "OrvTest.Probe.Rest(1, \"x\", \"y\", \"z\")", "10", "=> string \"1:x+y+z\"" },
                { "invoke", "OrvTest.Probe.Sum(1, 20, 300)", "10", "=> int 321" },
                { "set", "d.Anything = {1, 2.5}", "5", "d.Anything = double[] (2) { 1, 2.5 }" },
                // A cast goes towards zero, or is refused.
                { "get", "(int)-2.9", "5", "=> int -2" },
                { "get", "(long)-2.9f", "5", "=> long -2" },
                { "get", "(short)-2.9m", "5", "=> short -2" },
                { "get", "(byte)-0.9", "5", "=> byte 0" },
                { "get", "(uint)-1.5", "4", null },
                { "get", "(sbyte)-128.9", "5", "=> sbyte -128" },
                { "get", "(sbyte)-129.0", "4", null },
                { "get", "(int)-2147483648.9", "5", "=> int -2147483648" },
                { "get", "(int)-2147483649.0", "4", null },
                { "get", "(short)-32768.9", "5", "=> short -32768" },
                { "get", "(uint)-0.5", "5", "=> uint 0" },
                { "get", "(int)2147483647.9", "5", "=> int 2147483647" },
                { "get", "(long)-9223372036854775808.0", "5", "=> long -9223372036854775808" },
                { "get", "(long)9223372036854775808.0", "4", null },
                { "get", "(ulong)18446744073709551615m", "5", "=> ulong 18446744073709551615" },
                { "get", "(int)double.NaN", "4", null },
                { "get", "(decimal)1e30", "4", null },
                { "get", "(float)1e300", "5", "=> float Infinity" },
                { "get", "(OrvTest.Color)(-1.5)", "5", "=> OrvTest.Color -1" },
                { "get", "(double)new OrvTest.Square(2.5)", "5", "=> double 2.5" },
                { "get", "(int)new OrvTest.Square(-2.5)", "5", "=> int -2" },
                { "get", "(OrvTest.Square)4", "5", "=> OrvTest.Square" },
                // Operators, with those of a class.
                { "create", "s = OrvTest.Signs(5)", "8", "s = OrvTest.Signs \"5\"" },
                { "get", "(object)(-s)", "5", "=> OrvTest.Signs \"-5\"" },
                { "get", "(object)(+s)", "5", "=> string \"+5\"" },
                { "get", "(object)!s", "5", "=> bool false" },
                { "get", "(object)~s", "5", "=> int -6" },
                { "get", "(object)(s | true)", "5", "=> string \"5|True\"" },
                { "get", "(object)(s | s)", "4", null },
                { "get", "(object)~OrvTest.Access.Read", "5", "=> OrvTest.Access 254" },
                { "get", "(object)!true", "5", "=> bool false" },
                { "get", "(object)~5", "5", "=> int -6" },
                { "get", "(object)~5ul", "5", "=> ulong 18446744073709551610" },
                { "get", "(object)!5", "4", "error at column 9: '!' does not apply to 'int'" },
                { "get", "(object)~2.5", "4", null },
                { "get", "(object)~true", "4", null },
                { "get", "(object)(-\"a\")", "4", null },
                { "get", "(object)(true | 1)", "4", null },
                { "get", "(object)(OrvTest.Color.Red | OrvTest.Access.Read)", "4", null },
                // '@' makes a name of a keyword.
                { "create", "@new = OrvTest.Bell()", "8", "new = OrvTest.Bell \"bell\"" },
                { "invoke", "@new.Ring()", "10", "=> void" },
            });
        }

        public static void MembersAndCalls()
        {
            Bench.Start();
            Bench.Do("create", "d = OrvTest.Data()");
            Bench.Do("create", "h = OrvTest.Holder()");
            Bench.Do("create", "o = OrvTest.Overloads()");
            Bench.Do("create", "q = OrvTest.Square(3)");
            Bench.Printed();
            Rows(new string[,] {
                { "invoke", "d.Internal()", "1", "error at column 3: 'OrvTest.Data' has no public instance method 'Internal'" },
                { "invoke", "q.Describe(4)", "10", "=> string \"square 4\"" },
                { "invoke", "((OrvTest.IShape)q).Describe(4)", "10", "=> string \"square 4\"" },
                { "get", "q.m_side", "4", null },
                // Parameters that are left out, and named ones: what arrives.
                { "invoke", "OrvTest.Defaults.All()", "10", "=> string \"1x41.5\"" },
                { "invoke", "OrvTest.Defaults.All(7)", "10", "=> string \"7x41.5\"" },
                { "invoke", "OrvTest.Defaults.All(d: 2, a: 3)", "10", "=> string \"3x42\"" },
                { "invoke", "OrvTest.Defaults.All(1, \"y\", null, 3)", "10", "=> string \"1y3\"" },
                { "invoke", "OrvTest.Defaults.Enumerated()", "10", "=> string \"Green\"" },
                { "invoke", "OrvTest.Probe.Named(c: 2.5, a: 1, b: \"b\")", "10", "=> string \"1b2.5\"" },
                { "invoke", "o.Both(b: out size, a: ref \"x\")", "10", "out size = int 2" },
                { "invoke", "OrvTest.Probe.Named(a: 1, \"b\", 2)", "1", "error at column 27: what follows a named argument needs its name too" },
                // By reference.
                { "invoke", "n = OrvTest.Probe.Double(2)", "10", "n = int 4" },
                { "invoke", "o.Ref(ref n)", "10", "ref n = int 5" },
                { "get", "n", "5", "=> int 5" },
                { "invoke", "o.TryGet(\"ab\", out)", "10", "out value = int 2" },
                { "get", "value", "4", null },
                { "invoke", "o.TryGet(\"abc\", out n)", "10", "out n = int 3" },
                { "get", "n", "5", "=> int 3" },
                { "invoke", "o.TryGet(\"abc\", ref n)", "1", null },
                { "invoke", "o.TryGet(\"abc\", n)", "1", null },
                // A delegate in an instance.
                { "create", "twice = System.Converter<int, double>(OrvTest.Probe.Double)", "3", null },
                { "create", "twice = System.Converter<int, int>(OrvTest.Probe.Double)", "8", null },
                { "invoke", "twice(21)", "10", "=> int 42" },
                // A structure where it lies, and its copies.
                { "set", "h.Counter.Count = 3", "5", null },
                { "invoke", "h.Counter.Next()", "10", "=> int 4" },
                { "get", "h.Counter.Count", "5", "=> int 4" },
                { "invoke", "h.Counters[1].Next()", "10", "=> int 1" },
                { "get", "h.Counters[1].Count", "5", "=> int 1" },
                { "set", "h.Taken().Count = 3", "4", "error at column 11: the change would be lost: 'OrvTest.Counter' is a structure, and this is a copy of it" },
                { "set", "h.Property.Count = 3", "4", null },
            });
            // All candidates, when none fits.
            Bench.Do("invoke", "o.Pair(\"a\", 1)");
            Harness.Equal("error at column 3: 'Pair' does not take (string, int); there are\n" +
                              "    string OrvTest.Overloads.Pair(int a, double b)\n    string OrvTest.Overloads.Pair(double a, int b)\n" +
                              "  o.Pair(\"a\", 1)\n    ^", Bench.Printed(), "none fits");
        }

        public static void WhatIsPrinted()
        {
            Bench.Start();
            Rows(new string[,] {
                // A look reads no property but the count, and no element of what does not know its count.
                { "create", "w = OrvTest.Watched()", "8", "w = OrvTest.Watched \"watched\" (a sequence of int, not read)" },
                { "get", "w.Reads", "5", "=> int 1" },
                { "create", "l = OrvTest.ReadOnlyList()", "8", "l = OrvTest.ReadOnlyList (2) { \"a\", \"b\" }" },
                { "create", "m = new int[101]", "8", "m = int[] (101) { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }" },
                { "create", "c = OrvTest.Color", "8", "c = OrvTest.Color Red (0)" },
            });
            Bench.Do("invoke", "walk(m)");
            Harness.True(Bench.Printed().EndsWith("\n  [99] 0\n  100 read; there may be more from 100 on\n=> void"), "a hundred");
            Bench.Do("invoke", "walk(m, 2, 101)");
            Harness.True(Bench.Printed().EndsWith("\n  [100] 0\n  99 read, to the end\n=> void"), "as many as the third argument says");
            // Those before the first one are read too; an enumerator goes on behind the last one that was read.
            Bench.Do("create", "r = OrvTest.Reader()");
            Bench.Printed();
            Bench.Expect("invoke", "walk(r, 1, 1)", 10, "  [1] \"row 2\"");
            Bench.Expect("get", "r.Left", 5, "=> int 1");
            Bench.Expect("invoke", "list = System.Collections.Generic.List<int>(new int[] {7, 8, 9}).GetEnumerator()", 12, null);
            Bench.Expect("create", "list = System.Collections.Generic.List<int>(new int[] {7, 8, 9})", 8, null);
            Bench.Expect("invoke", "e = list.GetEnumerator()", 10, null);
            Bench.Expect("invoke", "walk(e, 0, 1)", 10, "  [0] 7");
            Bench.Expect("invoke", "walk(e, 1)", 10, "  [1] 9");
        }

        public static void NamesAndResults()
        {
            Bench.Start();
            Rows(new string[,] {
                { "create", "g = OrvTest.Counting()", "8", null },
                { "create", "g = OrvTest.Counting()", "9", "exists: g = OrvTest.Counting" },
                { "invoke", "g = g.Count()", "9", "exists: g = OrvTest.Counting" },
                { "get", "g = g.Next", "9", "exists: g = OrvTest.Counting" },
                // Neither constructor, nor method, nor property has run a second time.
                { "get", "OrvTest.Counting.Runs", "5", "=> int 1" },
                { "invoke", "g.Nothing()", "10", "=> void" },
                { "get", "$", "5", "=> int 1" },
                { "set", "OrvTest.Counting.Runs = 7", "5", null },
                { "get", "$", "5", "=> int 1" },
                { "create", "i = OrvTest.Counting()", "8", null },
                { "get", "$", "5", "=> int 1" },
            });
        }

        public static void ResultCodes()
        {
            Bench.Start();
            File.WriteAllText(InFolder("text.dll"), "no assembly");
            Bench.Do("create", "b = OrvTest.Bell()");
            Bench.Do("create", "f = OrvTest.Failing()");
            Bench.Printed();
            Rows(new string[,] {
                { "set", "b.Missing -= watch", "0", null },
                { "set", "OrvTest.Bell.Missing += watch", "0", null },
                { "set", "b.Rang -= watch", "4", null },
                { "invoke", "b.Ring(", "1", null },
                { "invoke", "nobody.Ring()", "1", null },
                { "invoke", "b.Ring(1)", "1", null },
                { "load", "\"open", "2", null },
                { "load", InFolder("text.dll"), "2", null },
                { "load", InFolder("apart"), "2", null },
                { "create", "5", "3", null },
                { "create", "x = OrvTest.Abstract()", "3", null },
                { "create", "x = OrvTest.Bell(5)", "3", null },
                { "get", "b.", "4", null },
                { "get", "b.Nope", "4", null },
                { "set", "b.Nope = 1", "4", null },
                { "delete", "nobody", "4", null },
                { "delete", "b", "5", null },
                { "reset", "", "5", null },
                { "load", InFolder("TestLibrary.dll"), "6", null },
                { "load", InFolder("TestLibrary.dll"), "7", null },
                { "create", "b = OrvTest.Bell()", "8", null },
                { "create", "f = OrvTest.Failing()", "8", null },
                { "create", "b = OrvTest.Bell()", "9", null },
                { "invoke", "b = f.Method()", "9", null },
                { "get", "b = f.Property", "9", null },
                { "invoke", "b.Ring()", "10", null },
                { "load", "No.Such", "11", null },
                { "load", InFolder("no/such.dll"), "11", null },
                { "create", "x = [Nope]OrvTest.Bell()", "11", null },
                { "invoke", "[Nope]OrvTest.Bell.RingEverywhere()", "11", null },
                { "get", "[Nope]OrvTest.Color.Red", "11", null },
                { "set", "[Nope]OrvTest.Data.StaticField = 1", "11", null },
                { "set", "using X = [Nope]OrvTest.Data", "11", null },
                { "create", "x = Nope()", "12", null },
                { "create", "x = OrvTest.NotPublic()", "12", null },
                { "invoke", "No.Such.Call()", "12", null },
                { "invoke", "Such.Call()", "1", null },
                { "get", "No.Such.Property", "12", null },
                { "get", "Such.Property", "4", null },
                { "set", "No.Such.Property = 1", "12", null },
                { "set", "No.Such.Event += watch", "12", null },
                { "set", "No.Such.Items[0] = 1", "12", null },
                { "set", "Such.Property = 1", "4", null },
                { "set", "Such.Event += watch", "4", null },
                { "set", "b.No.Such = 1", "4", null },
                { "get", "(No.Such)b", "12", null },
                { "create", "x = OrvTest.Failing(\"m\")", "13", null },
                { "invoke", "f.Method()", "13", null },
                { "get", "f.Property", "13", null },
                { "set", "f.Property = 1", "13", null },
                { "set", "f.Event += watch", "13", null },
                { "get", "(OrvTest.Raising)5", "13", null },
            });
        }

        public static void TextsAreBoundedAsIsSaid()
        {
            Parser.ParseInvoke("a.M(1" + Repeated("|1", 200) + ")");
            Refuses("a.M(1" + Repeated("|1", 201) + ")", "more than 200 '|' in a row");
            // What stands beside each other does not nest.
            foreach (string flat in new string[] { "-1", "(int)1", "(1)", "{1}", "b.M(1)", "new T(1)", "new T { A = { 1 } }", "new T { { 1, 2 } }", "new int[1]",
                                                   "new[] {1}", "b[1]", "b.M<A<int>>()", "typeof(A<B<int>>)", "!(~b)", "1|2" })
                Parser.ParseInvoke("a.M(" + Repeated(flat + ", ", 400) + flat + ")");
            // Calls in arguments of calls, with members behind each: what is read into each other, all in all.
            Parser.ParseInvoke("a" + Repeated(".M(b", 90) + Repeated(".P", 100) + Repeated(")", 90));
        }

        private static string Repeated(string text, int count)
        {
            return new System.Text.StringBuilder().Insert(0, text, count).ToString();
        }

        private static void Refuses(string text, string message)
        {
            try
            {
                Parser.ParseInvoke(text);
                Harness.True(false, "taken: " + text.Substring(0, 30));
            }
            catch (CommandError error)
            {
                Harness.Equal(message, error.Message, text.Substring(0, 30));
            }
        }

        // Whether "(type)" before a value is a cast: what is asked for is then a cast, and no value in parentheses.
        public static void CastsAreReadAsInCSharp()
        {
            foreach (string text in new string[] { "(T)b", "(N.T)b", "(T)\"x\"", "(T)5", "(T)(b)", "(T)!b", "(T)~b", "(T)$", "(T)'c'", "(T)null", "(T)typeof(int)",
                                                   "(T)new A()", "(T)int.MaxValue", "(T)@new", "(int)-1", "(int)+1", "(T[])-1", "(T[,])b", "(T?)-1", "(T<A>)b",
                                                   "([L]N.T)b", "(A.B+C)b", "(T){1}" })
                Harness.True(SyntaxText.Of(Parser.ParseGet(text)).StartsWith("(cast "), text);
            foreach (string text in new string[] { "(T)-1", "(N.T)+1", "(T<A>)-1", "(T)|1", "(T)*b" })
                Harness.Equal(4, Bench.Do("get", text), text);
            Harness.Equal("((cast T b).M)", SyntaxText.Of(Parser.ParseGet("((T)b).M")), "a member of a cast");
            Harness.Equal("(cast T (b.M))", SyntaxText.Of(Parser.ParseGet("(T)b.M")), "a cast of a member");
            Harness.Equal("(T.M)", SyntaxText.Of(Parser.ParseGet("(T).M")), "no cast");
            Harness.Equal("(call (a.M) (T | (- int 1)))", SyntaxText.Of(Parser.ParseInvoke("a.M((T)|-1)")), "no cast");
        }

        public static void BeyondCSharp()
        {
            Bench.Start();
            Bench.Do("create", "h = OrvTest.Holder()");
            Bench.Do("create", "o = OrvTest.Overloads()");
            Bench.Do("create", "g = OrvTest.Giver()");
            Bench.Do("set", "h.Boxed = \"four\"");
            Bench.Printed();
            Rows(new string[,] {
                { "get", "h.Boxed.Length", "5", "=> int 4" },
                { "invoke", "o.One(h.Boxed)", "10", "=> string \"string\"" },
                { "invoke", "o.One((object)h.Boxed)", "10", "=> string \"object\"" },
                { "get", "((object)h.Boxed).Length", "4", null },
                { "get", "h.None", "5", "=> int? null" },
                { "invoke", "OrvTest.Probe.TypeOf(h.None)", "10", "=> string \"System.Nullable`1[System.Int32]\"" },
                { "invoke", "OrvTest.Probe.TypeOf(h.Text)", "10", "=> string \"System.String\"" },
                // A name that holds an object fits by reference every type that the object has.
                { "get", "n = (object)1", "5", null },
                { "invoke", "g.Grow(ref n)", "10", "ref n = int[] (11) { 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }" },
                { "get", "n.Length", "5", "=> int 11" },
                { "invoke", "o.Ref(ref 4)", "10", "ref a = int 5" },
                { "invoke", "o.Ref(ref h.Words.Length)", "10", "ref a = int 3" },
            });
        }

        // What only a compiler can make, and what a command leaves out.
        public static void Limits()
        {
            Bench.Start();
            Bench.Do("create", "h = OrvTest.Holder()");
            Bench.Do("get", "n = OrvTest.Probe.Six");
            Bench.Do("create", "s = OrvTest.Length(1)");
            Bench.Do("get", "none = h.None");
            Bench.Do("set", "using E = System.Linq.Enumerable");
            Bench.Printed();
            foreach (string value in new string[] {
                         "1 + 2", "1 - 2", "n * 2", "4 / 2", "5 % 2", "1 << 2", "1 & 3", "1 ^ 3", "n == 1", "n != 1", "n < 2", "n > 2", "n <= 2", "n >= 2",
                         "true && false", "true || false", "true ? 1 : 2", "h.Text ?? \"x\"", "n = 2", "n++", "n--", "++n", "--n", "x => x", "delegate(int x) { return x; }",
                         "new { A = 1 }", "h.Words.Count()", "h.Words.First()", "h is object", "h as object", "default(int)", "default", "checked(1)", "unchecked(1)",
                         "nameof(h)", "sizeof(int)", "h?.Text", "h!.Text", "$\"a\"", "await h", "new System.Collections.Generic.Dictionary<string, int> { [\"a\"] = 1 }",
                         "new int[] {1, 2,}", "new OrvTest.Holder { Text = \"a\", }", "typeof(void)", "typeof(System.Collections.Generic.List<>)",
                         "global::OrvTest.Color.Red", "E::Empty", "\\u0068.Text", "0b1", "1_000", "none | 1", "-((System.TimeSpan?)h.Span)", "1 | none", "none | none", "throw h", "h.Words[^1]", "h.Words[0..1]",
                         "'ab'", "(n, n)", "stackalloc int[1]", "n switch { _ => 1 }", "\"a\"u8", "\"\"\"a\"\"\"", "h.Text[0] = 'c'" })
            {
                int code = Bench.Do("invoke", "OrvTest.Probe.Value(" + value + ")");
                Harness.True(code == 1 || code == 12, value + " gives " + code + ": " + Bench.Printed());
                Bench.Printed();
            }
            Rows(new string[,] {
                { "get", "h.Words[-1]", "4", "error at column 9: the index is outside 0 to 1" },
                { "get", "h.Callback.Method", "4", "error at column 3: the value is null" },
                { "invoke", "h.Callback(1)", "1", null },
                { "get", "(string)(object)5", "4", null },
                { "get", "(System.Converter<int, int>)OrvTest.Probe.Text", "4", null },
                { "set", "h.Callback = OrvTest.Probe.Text", "4", null },
                { "get", "none.Value", "13", null },
                { "invoke", "OrvTest.Probe.Value((byte)n)", "10", "=> byte 6" },
            });
        }
    }
}
