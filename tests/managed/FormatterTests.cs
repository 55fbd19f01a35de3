using System;
using System.Collections;
using System.Collections.Generic;
using OrvWorkBench;

namespace OrvTest
{
    internal static class FormatterTests
    {
        private sealed class Row
        {
            public readonly object Value;
            public readonly string Text;

            public Row(object value, string text)
            {
                Value = value;
                Text = text;
            }
        }

        private static IEnumerable<int> Generate(int count)
        {
            for (int i = 0; i < count; ++i)
                yield return i;
        }

        private enum Size : byte
        {
            Small = 1
        }

        public static void ValuesHaveTypeAndText()
        {
            Dictionary<string, int> map = new Dictionary<string, int>();
            map["a"] = 1;
            Hashtable table = new Hashtable();
            table[1] = "x";
            Row[] rows = {
                new Row(null, "null"),
                new Row(5, "int 5"),
                new Row(-1.5, "double -1.5"),
                new Row(0.1, "double 0.1"),
                new Row(1e300, "double 1E+300"),
                new Row(double.NaN, "double NaN"),
                new Row(1.5f, "float 1.5"),
                new Row(1.10m, "decimal 1.10"),
                new Row(true, "bool true"),
                new Row('x', "char 'x'"),
                new Row('\'', "char '\\''"),
                new Row('"', "char '\"'"),
                new Row('\uD800', "char '\\ud800'"),
                new Row("a\"b\\\n\u4E2D\u0001", "string \"a\\\"b\\\\\\n\u4E2D\\u0001\""),
                new Row("\uD83D\uDE00\uDE00", "string \"\uD83D\uDE00\\ude00\""),
                new Row(Color.Blue, "OrvTest.Color Blue (6)"),
                new Row((Color)77, "OrvTest.Color 77"),
                new Row(Access.Read | Access.Write, "OrvTest.Access Read, Write (3)"),
                new Row(typeof(Dictionary<string, int?[]>), "System.Type System.Collections.Generic.Dictionary<string, int?[]>"),
                new Row(new DateTime(2001, 2, 3, 4, 5, 6), "System.DateTime 2001-02-03 04:05:06"),
                new Row(new int[] { 1, 2 }, "int[] (2) { 1, 2 }"),
                new Row(new int[0], "int[] (0) { }"),
                new Row(new int[1, 2], "int[,] (1, 2) { { 0, 0 } }"),
                new Row(new object[] { null, "a", new int[] { 1 } }, "object[] (3) { null, \"a\", int[] (1) { 1 } }"),
                new Row(new List<string>(new string[] { "a" }), "System.Collections.Generic.List<string> (1) { \"a\" }"),
                new Row(map, "System.Collections.Generic.Dictionary<string, int> (1) { \"a\": 1 }"),
                new Row(table, "System.Collections.Hashtable (1) { 1: \"x\" }"),
                new Row(new object(), "object"),
                new Row(new Point(1, 2), "OrvTest.Point"),
                new Row(new Failing(), "OrvTest.Failing (its ToString raised System.InvalidOperationException: text)"),
                new Row(new BadList(), "OrvTest.BadList (a sequence of object, not read)"),
                new Row(new BadCollection(), "OrvTest.BadCollection (2) { 1 (reading it raised System.InvalidOperationException: list)"),
                new Row(new Version(1, 2), "System.Version \"1.2\""),
                new Row(TimeSpan.FromSeconds(90), "System.TimeSpan \"00:01:30\""),
                new Row(Guid.Empty, "System.Guid \"00000000-0000-0000-0000-000000000000\""),
                new Row(new Outer.GenericInner<int>(), "OrvTest.Outer.GenericInner<int>"),
                new Row(new Box<int>.Lid<char>(), "OrvTest.Box<int>.Lid<char>"),
            };
            foreach (Row row in rows)
                Harness.Equal(row.Text, Formatter.ShowTyped(row.Value, null), row.Text);
            Harness.Equal("string null", Formatter.ShowTyped(null, typeof(string)), "typed null");
            Harness.Equal("null", Formatter.ShowTyped(null, typeof(object)), "object null");
        }

        public static void LongThingsAreCut()
        {
            Harness.Equal("int[] (11) { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... }", Formatter.ShowTyped(new int[11], null), "11");
            Harness.Equal("int[] (10) { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }", Formatter.ShowTyped(new int[10], null), "10");
            string endless = Formatter.ShowTyped(Generate(int.MaxValue), null);
            Harness.True(endless.EndsWith(" (a sequence of int, not read)"), endless);
            Harness.Equal("string \"" + new string('a', 500) + "\"", Formatter.ShowTyped(new string('a', 500), null), "500");
            Harness.Equal("string \"" + new string('a', 500) + "\"... (501 characters)",
                          Formatter.ShowTyped(new string('a', 501), null), "501");
            string pair = new string('a', 499) + "\uD83D\uDE00b";
            Harness.Equal("string \"" + new string('a', 499) + "\"... (502 characters)", Formatter.ShowTyped(pair, null), "a pair stays whole");
            ArrayList self = new ArrayList();
            self.Add(self);
            Harness.Equal("System.Collections.ArrayList (1) { System.Collections.ArrayList (1) { System.Collections.ArrayList (1) " +
                              "{ System.Collections.ArrayList (1) { ... } } } }", Formatter.ShowTyped(self, null), "a list in itself");
        }

        public static void NamesOfTypesAreThoseOfCSharp()
        {
            Harness.Equal("int?", TypeNames.Show(typeof(int?)), "nullable");
            Harness.Equal("int[][,]", TypeNames.Show(typeof(int[][,])), "ranks");
            Harness.Equal("void", TypeNames.Show(typeof(void)), "void");
            Harness.Equal("OrvTest.Box<T>", TypeNames.Show(typeof(Box<>)), "open");
            Harness.Equal("ref int", TypeNames.Show(typeof(int).MakeByRefType()), "by reference");
            Harness.Equal("Global", TypeNames.Show(typeof(Global)), "no namespace");
            Harness.Equal("null", TypeNames.Show(null), "none");
        }

        public static void WindowsPathsReachTheirFilesOnUnix()
        {
            if (System.IO.Path.DirectorySeparatorChar != '/')
                return;
            string prefix = System.IO.Path.Combine(Harness.Folder, "prefix");
            string folder = System.IO.Path.Combine(prefix, "dosdevices/c:/Some Folder");
            System.IO.Directory.CreateDirectory(folder);
            System.IO.File.WriteAllText(System.IO.Path.Combine(folder, "File.dll"), "");
            string file = folder + "/File.dll";
            Harness.Equal(file, NativePath.ToUnix("C:\\Some Folder\\File.dll", prefix), "as it is");
            Harness.Equal(file, NativePath.ToUnix("c:/some folder\\FILE.DLL", prefix), "another case");
            Harness.Equal(file, NativePath.ToUnix("\\Some Folder\\File.dll", prefix), "from the root");
            Harness.Equal(folder + "/none.dll", NativePath.ToUnix("C:\\Some Folder\\none.dll", prefix), "missing");
            Harness.Equal("/usr/lib/x.dll", NativePath.ToUnix("/usr/lib/x.dll", prefix), "a Unix path");
            Harness.Equal(System.IO.Directory.GetCurrentDirectory() + "/no/x.dll", NativePath.ToUnix("no\\x.dll", prefix), "relative");
        }
    }
}
