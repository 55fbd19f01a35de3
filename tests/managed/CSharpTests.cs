using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Reflection;
using System.Text;
using System.Text.RegularExpressions;
using OrvWorkBench;

namespace OrvTest
{
    // What can be written in an expression means what it means in C#: each row is given to a C# compiler and to the
    // dispatcher. Either both come to a value of one type, or both refuse.
    internal static class CSharpTests
    {
        // The instances that the rows use, as the compiler and the dispatcher get them.
        internal static readonly string[,] s_instances = {
            { "f", "OrvTest.Fancy", "OrvTest.Fancy()" },
            { "h", "OrvTest.Holder", "OrvTest.Holder()" },
            { "d", "OrvTest.Derived", "OrvTest.Derived()" },
            { "o", "OrvTest.Overloads", "OrvTest.Overloads()" },
            { "m", "OrvTest.Money", "OrvTest.Money(5)" },
            { "c", "OrvTest.Counter", "OrvTest.Counter()" },
            { "list", "System.Collections.Generic.List<int>", "System.Collections.Generic.List<int>(new int[] { 3, 1, 2 })" },
            { "n", "int", "int()" },
        };

        // A row that refuses nothing ends as it stands; "a = b; c" assigns and then reads.
        internal static readonly string[] s_expressions = {
            // Literals.
            "5", "5u", "5L", "5ul", "0xFF", "0xFFFFFFFF", "0x1FFFFFFFF", "2147483648", "9223372036854775808", "2.5", "1e-3", "2.5f", "2.50m",
            "-2147483648", "-9223372036854775808", "- -2147483648", "- -n", "-+-n", "--5", "-2147483648L", "-1u", "-1ul", "\"a\\n\\x41\\u4e2d\\U0001F600\"",
            "@\"C:\\x\"\"\"", "'c'", "'\\''", "true", "null", "1.5u", "\"a\nb\"", "'\n'",
            // Casts and constants.
            "(byte)5", "(short)-1", "(int)2.9", "(int)-2.9", "(char)65", "(int)'a'", "(OrvTest.Color)5", "(int)OrvTest.Color.Blue", "(long)OrvTest.Color.Blue",
            "(OrvTest.Color)0", "(int?)5", "(string)null", "(object)5", "(int)(object)5", "(int)(object)5L", "(long)(object)5", "(string)(object)5",
            "(OrvTest.Color)(object)5", "(OrvTest.Color)(object)5L", "(OrvTest.Access)(object)(byte)2", "(OrvTest.Access)(object)2", "(OrvTest.Color)(object)OrvTest.Access.Read", "(int)(object)OrvTest.Access.Read", "(System.IComparable)5", "(byte)256", "(int)h.Long", "(int)m", "(long)m", "(OrvTest.Money)\"four\"", "(OrvTest.Money)7",
            "(double)new OrvTest.Length(2)", "(OrvTest.Length)2", "(int)new OrvTest.Length(2.7)", "(OrvTest.Fancy)m", "(int)\"5\"", "(uint?)5", "(int)h.Maybe", "(int)h.None",
            "OrvTest.Probe.Byte(5)", "OrvTest.Probe.Byte(OrvTest.Probe.Five)", "OrvTest.Probe.Byte(OrvTest.Probe.Six)", "OrvTest.Probe.Byte(256)",
            "OrvTest.Probe.Byte((int)5)", "OrvTest.Probe.Byte((short)5)", "OrvTest.Probe.Byte(5L)", "OrvTest.Probe.Big(5)", "OrvTest.Probe.Big(5L)", "OrvTest.Probe.Big(-5)",
            "OrvTest.Probe.Big(h.Long)", "OrvTest.Probe.Enumerated(0)", "OrvTest.Probe.Enumerated(0L)", "OrvTest.Probe.Enumerated(0u)", "OrvTest.Probe.Enumerated((byte)0)", "OrvTest.Probe.Enumerated(1L)", "OrvTest.Probe.Enumerated('a')", "OrvTest.Probe.Enumerated(n)", "OrvTest.Probe.Enumerated(false)", "OrvTest.Probe.Enumerated((short)0 | 0)", "OrvTest.Probe.Enumerated(1)", "OrvTest.Probe.Bytes(1, 2, 255)", "OrvTest.Probe.Bytes(1, 256)",
            "OrvTest.Probe.Byte(-(-5))", "OrvTest.Probe.Byte(~0)", "OrvTest.Probe.Byte(1 | 2)", "OrvTest.Probe.Byte(1 | n)",
            // Operators.
            "-h.Small", "+'a'", "~5u", "~OrvTest.Color.Red", "-OrvTest.Color.Red", "!true", "!5", "-true", "-h.Span", "-m", "~m", "-h.Maybe", "-h.None", "!h.Maybe", "-n",
            "1 | 4", "1u | 4", "1L | 4u", "h.Small | 1", "h.Unsigned | n", "h.Unsigned | 1", "1ul | n", "1ul | 1", "true | false", "1 | true", "1.5 | 1", "m | m",
            "OrvTest.Access.Read | OrvTest.Access.Write", "OrvTest.Access.Read | 0", "0 | OrvTest.Access.Read", "OrvTest.Access.Read | 1", "OrvTest.Access.Read | OrvTest.Color.Blue",
            // What suffixes, signs and casts make of numbers.
            "-9223372036854775808L", "- 9223372036854775808", "-(9223372036854775808)", "-(-9223372036854775808)", "9223372036854775807", "-9223372036854775809", "18446744073709551615", "18446744073709551616",
            "-2147483648 | 0", "~-1", "-0xFFFFFFFF", "-(2147483648)", "-2147483648.0", "-2147483648L", "-(-2147483648)", "-2147483648.ToString()", "- 2147483648", "-002147483648", "(int)-2147483648", "~-2147483648", "OrvTest.Probe.Double(-2147483648)", "-0.0", "-0.0f", "1e400", "1e-400", "1e39f", "1.5E+2", ".5", "5e0f", "0x7FFFFFFFL", "1UL", "1Lu", "00012", "0.10m", "1e2m", "1e30m", "0xG", "1x", "1.", "1..ToString()",
            "'\\xD83D'", "\"\\xD83D\\xDE00\"", "\"\\x1\\x12\\x123\\x12345\"", "\"\\'\\0\\a\\b\\f\\r\\v\"", "\"\\e\"", "\"\\u123\"", "@\"\\\"", "@\"a\nb\"", "'\\\"'", "'\"'", "\"'\"", "''", "'ab'",
            "(long)-2.9", "(sbyte)-1.5f", "(short)-32769.0", "(uint)-1.0", "(char)65.9", "(int)2147483648.0", "(long)-9223372036854775808.0", "(decimal)-2.5f",
            "(float)-1e-50", "(int)-2.5m", "(ulong)1.9m", "(byte)-1", "(sbyte)128", "(ushort)-1", "(ulong)-1", "(char)-1", "(char)65536", "(int)(double)new OrvTest.Length(-2.9)", "(long)(float)-7.9", "(int)'\\uffff'", "(short)'a'", "(decimal)'a'",
            "(OrvTest.Color)2.9", "(OrvTest.Access)256", "(OrvTest.Access)(-1)", "(int)(OrvTest.Color)(-3)", "(double)OrvTest.Color.Blue", "(decimal)OrvTest.Color.Blue", "(char)OrvTest.Access.All", "(byte)(int?)5", "(int?)2.9", "(int?)(long?)7L", "(long?)5u",
            // Operators on every kind of value.
            "new OrvTest.Signs(5) | true", "new OrvTest.Signs(5) | 1", "true | new OrvTest.Signs(5)", "!new OrvTest.Signs(0)", "~new OrvTest.Signs(5)", "+new OrvTest.Signs(3)", "(-new OrvTest.Signs(3)).ToString()", "- -new OrvTest.Signs(3) | false",
            "-+-5", "!(!true)", "!!true", "~~5", "~(byte)5", "~'a'", "~h.Small", "~h.Long", "~h.Unsigned", "-h.Unsigned", "-h.Long", "-(byte)5", "-'a'", "+h.Small", "+h.Unsigned", "+\"a\"", "-null", "!null", "-2.5m", "-2.5f", "+2.5", "~2.5", "~true", "!n",
            "true | false | true", "false | false", "1 | 2 | 4", "(1 | 2) | 4u", "1 | (2 | 4L)", "(byte)1 | (byte)2", "'a' | 1", "1 | 'a'", "(short)-1 | 1", "-1 | 1u", "h.Small | h.Long", "h.Long | h.Unsigned", "n | 'a'", "\"a\" | \"b\"",
            "OrvTest.Color.Red | OrvTest.Color.Green | 0", "OrvTest.Access.All | ~OrvTest.Access.Read", "~OrvTest.Access.None", "~OrvTest.Color.Green", "0u | OrvTest.Access.Read", "0L | OrvTest.Access.Read", "OrvTest.Access.Read | n", "-OrvTest.Access.Read", "+OrvTest.Color.Green",
            "OrvTest.Access.Read | (OrvTest.Access)4", "(int)OrvTest.Access.Read | 4", "(OrvTest.Color)4 | OrvTest.Color.Green", "1 | 2.5f", "1m | 1",
            // What arrives in arrays, and where arguments are named or left out.
            "OrvTest.Probe.Rest(1, \"a\", null, \"c\")", "OrvTest.Probe.Rest(1, new string[0])", "OrvTest.Probe.Rest(1, new object[0])", "OrvTest.Probe.Rest(rest: \"a\", first: 2)", "OrvTest.Probe.Rest(first: 2)", "OrvTest.Probe.Sum(new int[] {1, 2, 3})", "OrvTest.Probe.Sum((byte)1, 'a', (short)2)",
            "OrvTest.Probe.Sum(1L)", "OrvTest.Probe.Sum(numbers: 4)", "OrvTest.Probe.Sum(new byte[] {1})", "OrvTest.Probe.Objects(null, null)", "OrvTest.Probe.Objects((object)h.Words)", "string.Format(\"{0}{1}{2}\", new object[] {1, 2, 3})", "string.Format(\"{0}\", new object[] {null})", "string.Concat(new object[] {1, \"a\"})",
            "new int[,,] {{{1}, {2}}, {{3}, {4}}}", "new int[2, 2] {{1, 2}, {3, 4}}", "new int[2, 2] {{1, 2}, {3, 4}}[1, 0]", "new int[2, 1] {{1, 2}, {3, 4}}", "new int[,] {}", "new int[0, 0] {}", "new long[,] {{1, 2u}, {'a', (byte)3}}", "new int[][] {new int[] {1}, new int[] {2, 3}}[1][1]", "new[] {new[] {1}, new[] {2}}[1][0]",
            "new object[,] {{1, \"a\"}}", "new[] {1, 2.5, 'a'}", "new[] {1u, 2}", "new[] {1, 2u}", "new[] {(byte)1, 'a'}", "new[] {h, null}", "new[] {null}", "new[] {new OrvTest.Fancy(), f}", "new[] {f, h}", "new[] {h, (object)f}", "new OrvTest.Square[] {1, 2}[1].ToString()", "new string[] {null, \"a\"}",
            "OrvTest.Defaults.All(1)", "OrvTest.Defaults.All(1, \"b\")", "OrvTest.Defaults.All(c: 9)", "OrvTest.Defaults.All(c: null, a: 2)", "OrvTest.Defaults.All(d: 7, b: null)", "OrvTest.Defaults.All(1, \"b\", 3, 4, 5)", "OrvTest.Defaults.All(e: 1)", "OrvTest.Defaults.All(1, a: 2)", "OrvTest.Defaults.Open(rest: 4)", "OrvTest.Defaults.Open(a: 4)",
            "OrvTest.Defaults.Either(a: 1)", "OrvTest.Defaults.Either(b: 1)", "(int)new OrvTest.Square(-2.5)", "(long)new OrvTest.Square(2)", "(decimal)new OrvTest.Square(2)", "(OrvTest.Square)2.5m", "(OrvTest.Square)2.5", "(OrvTest.Length)2.5m", "(decimal)new OrvTest.Length(2)", "(byte)m", "(uint)m", "(OrvTest.Money)5u", "(OrvTest.Money)5ul", "(OrvTest.Money)2.5", "(char)m", "(OrvTest.Color)m", "(OrvTest.Money)OrvTest.Color.Blue", "(string)(object)new OrvTest.Square(2)", "(OrvTest.Money)\"four\" | m", "(int)-m", "-(OrvTest.Money)7",
            // Overridden and hidden members.
            "f.Both", "f.Both = 4; f.Both", "new OrvTest.Setting { Both = 4 }.Both", "f[1]", "f[1] = 2; f.Both", "f[1L]", "f[\"abc\"]", "f[\"abc\"] = 1; f.Both", "((OrvTest.Plain)f)[1]", "f.Name", "f.Name = 6; f.Name",
            "f.Name = \"x\"; f.Name", "((OrvTest.Plain)f).Name", "((OrvTest.Plain)f).Name = \"x\"; ((OrvTest.Plain)f).Name", "f.Hidden()", "((OrvTest.Plain)f).Hidden()",
            "f.Taken(5)", "f.Taken(list)", "f.Taken(new System.Collections.Generic.Dictionary<int, int>())", "f.Taken(new System.Collections.Generic.List<string>())", "((OrvTest.Plain)f).Taken(list)", "f.Number()", "((OrvTest.Plain)f).Number", "f.Generic(5)", "((OrvTest.Plain)f).Generic(5)", "f.Twice(4)", "((OrvTest.Plain)f).Twice()", "f.Twice()", "f.Show()", "f.Show",
            "d.Who(1)", "((OrvTest.Base)d).Who(1)", "d.Virtual()", "d.Hidden", "((OrvTest.Base)d).Hidden", "OrvTest.Derived.StaticOfBase()", "f.Changed", "f.ToString().Length",
            "((object)list).Count", "((System.Collections.ICollection)list).Count", "((System.Collections.IList)list)[0]", "((System.Collections.IList)h.Words)[1]", "((object)h.Words)[1]",
            "((System.Array)h.Words).Length", "((System.Collections.IList)h.Words)[1] = \"z\"; h.Words[1]", "f.get_Both()", "string.Concat(1, 2, 3, 4)",
            // Nullable values.
            "h.Maybe = 5; h.Maybe.HasValue", "h.Maybe = 5; h.Maybe.Value", "h.None.HasValue", "h.None.Value", "h.None.GetValueOrDefault()", "h.None.GetValueOrDefault(3)", "h.None.ToString()",
            "h.None.Equals(null)", "h.None.GetHashCode()", "h.None", "h.Maybe = 5; h.Maybe.ToString()", "h.Maybe = 5; OrvTest.Probe.Maybe(h.Maybe)", "OrvTest.Probe.MaybeOr(h.None)",
            "OrvTest.Probe.MaybeOr(5)", "OrvTest.Probe.MaybeOr(5L)", "h.Maybe = 5; OrvTest.Probe.Double(h.Maybe)", "h.Maybe = (byte)5; h.Maybe", "h.Maybe = 5L; h.Maybe", "h.Maybe = null; h.Maybe",
            "new int?(5)", "new int?()", "OrvTest.Probe.TypeOf(h.Maybe)", "h.Maybe = 5; h.Maybe.CompareTo(5)", "new int?(5).Value", "h.Maybe = 5; (long?)h.Maybe", "h.Maybe = 5; (double)h.Maybe",
            // Named arguments, optional and params parameters.
            "OrvTest.Probe.Named(a: 1, b: \"b\", c: 2)", "OrvTest.Probe.Named(c: 2, b: \"b\", a: 1)", "OrvTest.Probe.Named(1, c: 2, b: \"b\")", "OrvTest.Probe.Named(d: 4, a: 3)",
            "OrvTest.Probe.Named(1, a: 2)", "OrvTest.Probe.Named(1, x: 2)", "OrvTest.Probe.Named(a: 1, a: 2)", "OrvTest.Probe.Named(b: \"b\", 1, 2)", "OrvTest.Defaults.All()",
            "OrvTest.Defaults.All(b: \"y\")", "OrvTest.Defaults.All(d: 2, c: null)", "OrvTest.Defaults.All(3, d: 7)", "OrvTest.Defaults.Either(1)", "OrvTest.Defaults.Either(b: 3, a: 1)",
            "OrvTest.Defaults.Open()", "OrvTest.Defaults.Open(5)", "OrvTest.Defaults.Open(5, 6, 7)", "OrvTest.Defaults.Open(rest: new int[] {1})", "OrvTest.Probe.Rest(1)", "OrvTest.Probe.Rest(1, \"a\", \"b\")",
            "OrvTest.Probe.Rest(1, null)", "OrvTest.Probe.Rest(1, (string)null)", "OrvTest.Probe.Rest(first: 1, rest: new string[] {\"x\"})", "OrvTest.Probe.Objects(null)", "OrvTest.Probe.Objects()",
            "OrvTest.Probe.Objects(1, \"a\")", "OrvTest.Probe.Objects(h.Words)", "OrvTest.Probe.Objects(list)", "OrvTest.Probe.Objects(new int[2])", "OrvTest.Probe.Sum()", "OrvTest.Probe.Sum(1, 2)", "OrvTest.Probe.Sum(1, 2.0)",
            "new OrvTest.Money(cents: 4)", "f[index: 4]",
            // Overloads and type arguments.
            "new OrvTest.Choice<int>().Put(1)", "new OrvTest.Choice<long>().Put(1)", "new OrvTest.Choice<int>().All(1)", "h.None.ToString",
            "o.Ref(ref n)", "o.Ref(a: ref n)", "o.Ref(ref c)", "OrvTest.Probe.Reference(ref n)", "OrvTest.Probe.Reference(n)", "o.Both(ref n, n)",
            "h.Overloaded(1, 2)", "h.Overloaded(1, 2L)", "OrvTest.Probe.Specific(1)", "OrvTest.Probe.Specific(h.Words)", "OrvTest.Probe.Specific(list)", "OrvTest.Probe.Two(1, \"a\")", "OrvTest.Probe.Two<long, object>(1, \"a\")",
            "OrvTest.Probe.Two<long>(1, 2)", "OrvTest.Probe.TypeOf(null)", "OrvTest.Probe.TypeOf(1u)", "OrvTest.Probe.Shown(h.Words)", "OrvTest.Probe.Shown(list)", "OrvTest.Probe.Uints(new int[1])", "OrvTest.Probe.Uints(new uint[1])",
            "OrvTest.Probe.Worth(\"abc\")", "OrvTest.Probe.Worth((string)null)", "OrvTest.Probe.Worth(null)", "OrvTest.Probe.Worth(5)", "OrvTest.Probe.Worth(5L)", "OrvTest.Probe.Worth(5ul)", "OrvTest.Probe.Worth(2.5)",
            "OrvTest.Probe.Units(3)", "OrvTest.Probe.Units(2.5f)", "OrvTest.Probe.Units(2.5m)", "string.Format(\"{0}{1}\", 1, 'a')", "string.Join(\",\", h.Words)", "System.Math.Max(1, 2L)", "System.Math.Abs(-2.5m)",
            // Methods as delegates.
            "OrvTest.Probe.Takes(OrvTest.Probe.Text)", "OrvTest.Probe.Takes(OrvTest.Probe.Double)", "OrvTest.Probe.Runs(list.Add)", "OrvTest.Probe.Runs(OrvTest.Probe.Nothing)", "OrvTest.Probe.Mapped(5, OrvTest.Probe.Text)",
            "OrvTest.Probe.Mapped(5, OrvTest.Probe.Double)", "OrvTest.Probe.Mapped(2.5, OrvTest.Probe.Double)", "list.ConvertAll(OrvTest.Probe.Text)[0]", "list.ConvertAll<string>(OrvTest.Probe.Text)[1]", "list.Exists(list.Remove)",
            "OrvTest.Probe.Chosen(OrvTest.Probe.Text)", "OrvTest.Probe.Value(OrvTest.Probe.Text)", "h.Callback = OrvTest.Probe.Double; h.Apply(4)", "h.Callback = OrvTest.Probe.Text; h.Apply(4)",
            "h.Callback = new System.Converter<int, int>(OrvTest.Probe.Double); h.Callback(4)", "new System.Converter<int, string>(OrvTest.Probe.Text)(5)", "((System.Converter<int, string>)OrvTest.Probe.Text)(5)",
            "new System.Converter<int, int>(OrvTest.Probe.Text)", "new System.Converter<int, int>(5)", "h.Empty(1)", "((object)h.Callback)(1)", "h.Callback = f.Twice; h.Apply(2)", "h.Callback = o.Same<int>; h.Apply(9)", "h.Callback = o.Same; h.Apply(9)",
            // Initialisers and arrays.
            "new OrvTest.Holder { Text = \"t\", Maybe = 4 }.Text", "new OrvTest.Holder() { Numbers = { 1, 2, 3 } }.Numbers.Count", "new OrvTest.Holder { Map = { { \"a\", 1 }, { \"b\", 2 } } }.Map[\"b\"]",
            "new OrvTest.Holder { Inner = { Text = \"inner\" } }.Inner.Text", "new OrvTest.Holder { Nope = 1 }", "new OrvTest.Holder { Text = 1 }", "new OrvTest.Holder { Text = \"a\", Text = \"b\" }", "new OrvTest.Holder { 1 }",
            "new OrvTest.Holder { Words = { \"a\" } }", "new OrvTest.Holder { Property = { Count = 1 } }", "new OrvTest.Holder { Counter = { Count = 3 } }.Counter.Count", "new OrvTest.Counter { Count = 4 }.Count", "new System.Collections.Generic.List<int> { 1, 2, 3 }",
            "new System.Collections.Generic.List<string> { 1 }", "new System.Collections.Generic.Dictionary<int, string> { { 1, \"a\" } }[1]", "new System.Collections.Generic.List<int>(5) { 7 }[0]", "new OrvTest.Holder { }.Text",
            "new int[] {1, 2}", "new int[3]", "new int[2,3].Length", "new int[2] {1, 2}", "new int[2] {1}", "new[] {1, 2L}", "new[] {1, \"a\"}", "new[] {null, \"a\"}", "new double[] {1, 2.5f, 'a'}", "new int[] {1, 2.5}",
            "new int[][] { new int[] {1}, null }", "new int[,] {{1, 2}, {3, 4}}", "new int[,] {{1, 2}, {3}}", "new object[] {1, \"a\", null}", "new byte[] {1, 256}", "new int[5L].Length", "new int[-1]", "new System.Converter<int, int>[] {OrvTest.Probe.Double}.Length",
            "h.Words[1L]", "h.Words[1u]", "h.Words[2]", "h.Words[1.0]", "h.Words['\\u0001']", "h.Words[0, 0]",
            // Structures.
            "c.Next().ToString()", "h.Counter.Next(); h.Counter.Count", "h.Property.Next(); h.Property.Count", "h.Counters[1].Next(); h.Counters[1].Count", "h.Fixed.Next(); h.Fixed.Count", "h.Counter.Count = 5; h.Counter.Count",
            "h.Property.Count = 5; h.Property.Count", "h.Counters[0].Count = 6; h.Counters[0].Count", "h.Fixed.Count = 1; h.Fixed.Count", "h.Inner.Counter.Count = 8; h.Inner.Counter.Count", "h.Pair.First.Count = 5; h.Pair.First.Count", "h.Pair.First.Next(); h.Pair.First.Count", "h.Pairs[1].First.Count = 5; h.Pairs[1].First.Count", "h.Pairs[1].First.Next(); h.Pairs[1].First.Count", "h.Pair.First = c; h.Pair.First.Count", "c.Count = 3; c.Count", "h.Counter = c; h.Counter.Count",
            // Types and names.
            "typeof(int)", "typeof(System.Collections.Generic.Dictionary<string, int[]>)", "typeof(OrvTest.Outer.Inner)", "typeof(int?[])", "typeof(NoSuch)", "int.MaxValue", "OrvTest.Probe.TypeOf(int.MaxValue)", "string.Empty", "OrvTest.Outer.Inner.Count",
            "OrvTest.Outer.Inner.Level.High", "OrvTest.Box<int>.Kind()", "new OrvTest.Box<int>.Lid<char>().Names()", "OrvTest.Color.Green", "OrvTest.Color.Pink", "OrvTest.NotPublic", "new OrvTest.Abstract()", "o.Static()", "OrvTest.Overloads.One(1)", "n.MaxValue",
            "OrvTest.Probe.Five = 6; OrvTest.Probe.Five", "OrvTest.Probe.Six = 7; OrvTest.Probe.Six", "(n)", "((n)).ToString()", "5.ToString()", "\"abc\".Length", "\"abc\"[1]", "(1 | 2).ToString()", "(-5).ToString()", "'a'.ToString()", "null.ToString()", "true.ToString()",
            "OrvTest.Probe.Value(OrvTest.Probe.Nothing(1))", "h.Few().GetType().Name.Length.GetType()", "new string('a', 3)", "new decimal(5)", "new System.DateTime(2001, 2, 3).Year", "int.Parse(\"5\")", "char.IsDigit('5')", "h.Boxed.ToString()",
            // The library that everybody uses.
            "o.One('a')", "o.One(1m)", "o.One(null)", "o.Chars(97)", "o.Floats(1.5f)", "o.Floats(1)", "o.Floats(1.5)", "o.Small(1)", "o.Signs(n)", "o.Signs(1u)", "o.Wide(n)", "o.Pair(1, 2)", "o.Text(\"a\", null)", "o.Text(\"a\", h.Words)", "o.Null(null)", "o.Many(new int[2])",
            "o.First(h.Words)", "o.First(\"abc\")", "o.First(h.Map)", "o.Constrained(1)", "o.Twice(1, 2L)", "o.Twice(\"a\", h)", "o.Twice(\"a\", (object)h)", "o.Same(h).Text", "o.Kind<string>()", "o.Generic(1)", "o.Enumerated(OrvTest.Access.Read)", "o.Doubles(new int[1])", "o.Sequence(list)", "o.Shape(new OrvTest.Square(2))", "o.Squared(3)", "o.Squared((short)3)", "o.Squared(3L)", "(double)new OrvTest.Square(2)", "(float)new OrvTest.Square(2)", "(int)new OrvTest.Square(2.5)", "(OrvTest.Square)(byte)3",
            "OrvTest.Probe.Units('a')", "OrvTest.Probe.Units(h.Maybe)", "OrvTest.Probe.Worth('a')", "OrvTest.Probe.Worth(h.Small)", "(OrvTest.Length?)2.5", "(OrvTest.Length?)null", "(double)(OrvTest.Length?)new OrvTest.Length(3)", "(decimal)2.5", "(float)1e300", "(double)1.5m", "2.5m | 1", "(char)(byte)65", "(OrvTest.Access)OrvTest.Color.Green", "(byte)OrvTest.Access.All", "(OrvTest.Color)'a'", "(bool)1", "(int)true", "(string)(object)\"x\"", "(object)null", "(System.ValueType)5", "(int)(System.ValueType)5", "(System.IFormattable)\"x\"", "(System.Enum)OrvTest.Color.Red", "(int)(object)OrvTest.Color.Blue", "(OrvTest.Color)(object)6",
            "list.Count.ToString(\"000\")", "list[0].CompareTo(1)", "list[list.Count]", "h.Map.TryGetValue(\"a\", out n)", "h.Map[\"none\"]", "h.Map[null]", "h.Words.Length", "h.Words.GetLength(0)", "h.Words.Rank", "((System.Collections.Generic.ICollection<string>)h.Words).Count", "((System.Collections.Generic.IList<string>)h.Words)[1]", "list.ToArray()[1]", "list.ToArray()", "list.GetRange(0, 2)[1]", "list.FindAll(list.Contains).Count", "list.TrueForAll(list.Contains)", "System.Array.IndexOf(h.Words, \"b\")", "System.Array.IndexOf<string>(h.Words, \"b\")", "System.Array.Exists(h.Words, string.IsNullOrEmpty)", "System.Array.ConvertAll(h.Words, int.Parse)", "System.Array.ConvertAll(new int[] {1, 2}, System.Convert.ToString)", "System.Array.ConvertAll(new int[] {1, 2}, OrvTest.Probe.Text)[1]",
            "System.Convert.ToString(5)", "System.Convert.ToInt32('a')", "System.Math.Round(2.6)", "System.Math.Round(2.5m)", "System.Math.Round(5)", "System.Math.Pow(2, 3)", "System.Math.Sign(-5L)", "System.Math.Min((byte)1, (short)2)", "string.Compare(\"a\", \"b\")", "string.Join(\"-\", 1, 2, \"x\")", "string.Join(\"-\", list)", "string.Concat(\"a\", 1)", "string.Concat(h.Words)", "string.Format(\"{0}\", h.Words)", "string.Format(\"{0}{1}{2}{3}\", 1, 2, 3, 4)", "\"abc\".Substring(startIndex: 1)", "\"abc\".Substring(length: 1, startIndex: 1)", "\"abc\".IndexOf('b')", "\"abc\".Split('b').Length", "\"a,b;c\".Split(',', ';').Length", "\"abc\".Trim().ToUpperInvariant()", "new System.Text.StringBuilder(\"a\").Append(1).Append('c').Append(2.5m).ToString()", "new System.Text.StringBuilder(5).Append('x', 3).Length", "new System.Text.StringBuilder { Length = 2 }.Length", "new System.Uri(\"http://a.b/c\").Host", "System.TimeSpan.FromSeconds(90).Minutes", "System.DayOfWeek.Friday | System.DayOfWeek.Monday", "System.Environment.NewLine.Length | 1",
            "new System.Collections.Generic.KeyValuePair<int, string>(1, \"a\").Value", "new System.Collections.Generic.KeyValuePair<int, string>(1, null).Value", "new System.Collections.Generic.Dictionary<string, OrvTest.Holder> { { \"k\", h } }[\"k\"].Small", "new System.Version(1, 2).Major", "System.Tuple.Create(1, \"a\").Item2", "System.Tuple.Create(1, 2L)", "System.Linq.Enumerable.Count(list)", "System.Linq.Enumerable.First(list)", "System.Linq.Enumerable.Select(list, OrvTest.Probe.Text)", "System.Linq.Enumerable.ToArray(System.Linq.Enumerable.Cast<object>(list))", "System.Linq.Enumerable.Max(h.Words)", "System.Linq.Enumerable.Sum(list)", "System.Linq.Enumerable.Average(list)", "System.Nullable.GetUnderlyingType(typeof(int?))", "System.Activator.CreateInstance<OrvTest.Holder>().Small", "System.Enum.Parse(typeof(OrvTest.Color), \"Blue\")", "object.Equals(1, 1)", "object.ReferenceEquals(h, h)", "h.Equals(h)", "h.GetType().Name", "typeof(int).Name", "typeof(int).IsValueType", "int.MaxValue.ToString()", "double.NaN", "double.Parse(\"5\").ToString()", "decimal.MaxValue", "char.MaxValue", "long.MinValue", "float.Epsilon", "OrvTest.Data.Constant", "OrvTest.Data.Constant = \"x\"; n", "new OrvTest.Data()[1, 2]", "new OrvTest.Data()[\"a\"]", "new OrvTest.Data().Null.Field", "new OrvTest.Data().Callback(2)", "new OrvTest.Data().Callback.Invoke(2)", "new OrvTest.Data().PrivateSet = 1; n", "new OrvTest.Data().WriteOnly", "h.Text = null; h.Text", "h.Text = 'c'; h.Text", "h.Small = 300; h.Small", "h.Small = n; h.Small", "h.Small = 0xFF; h.Small", "h.Long = n; h.Long", "h.Long = 5u; h.Long", "h.Unsigned = -1; h.Unsigned", "h.Unsigned = (uint)5L; h.Unsigned", "h.Boxed = 'c'; h.Boxed", "h.Boxed = new[] {1}; h.Boxed", "h.Words = null; h.Words", "h.Words[0] = null; h.Words[0]", "h.Words[0] = 1; h.Words[0]", "list[0] = 9; list[0]", "list[0] = 9L; list[0]", "list.Capacity = 10; list.Capacity", "list.Count = 1; list.Count",
        };

        public static void WhatCanBeWrittenMeansWhatItMeansInCSharp()
        {
            List<int> refused = new List<int>();
            Assembly compiled = Compile(refused);
            MethodInfo run = compiled.GetType("Rows").GetMethod("Run");
            int values = 0;
            for (int i = 0; i < s_expressions.Length; ++i)
            {
                string expected = refused.Contains(i) ? null : InCSharp(run, i);
                string actual = InDispatcher(s_expressions[i]);
                values += expected == null ? 0 : 1;
                Harness.Equal(expected ?? "refused", actual, s_expressions[i]);
            }
            Harness.True(values > 300, "only " + values + " rows have a value");
        }

        // Null when it raises.
        private static string InCSharp(MethodInfo run, int row)
        {
            try
            {
                object[] result = (object[])run.Invoke(null, new object[] { row });
                return Formatter.ShowTyped(result[0], result[0] == null ? null : (Type)result[1]);
            }
            catch (TargetInvocationException)
            {
                return null;
            }
        }

        private static string InDispatcher(string row)
        {
            Bench.Start();
            for (int i = 0; i < s_instances.GetLength(0); ++i)
                Bench.Expect("create", s_instances[i, 0] + " = " + s_instances[i, 2], 8, null);
            string[] parts = Split(row);
            if (parts.Length == 2)
            {
                string command = parts[0].Contains(" = ") ? "set" : "invoke";
                if (!Succeeded(Bench.Do(command, parts[0])))
                    return "refused";
            }
            Bench.Printed();
            // Any expression can be an argument.
            if (!Succeeded(Bench.Do("invoke", "OrvTest.Probe.Value(" + parts[parts.Length - 1] + ")")))
                return "refused";
            // What comes back by reference is printed before.
            string printed = "\n" + Bench.Printed();
            return printed.Substring(printed.IndexOf("\n=> ", StringComparison.Ordinal) + "\n=> ".Length).Split('\n')[0];
        }

        private static string[] Split(string row)
        {
            int semicolon = row.IndexOf("; ");
            return semicolon < 0 ? new string[] { row } : new string[] { row.Substring(0, semicolon), row.Substring(semicolon + 2) };
        }

        private static bool Succeeded(int result)
        {
            return result >= 5 && result <= 10;
        }

        // Compiles each row as a method; those that do not compile are left out the next time.
        private static Assembly Compile(List<int> refused)
        {
            string output = Path.Combine(Harness.Folder, "Rows.dll");
            for (int round = 0; round < 8; ++round)
            {
                string errors = RunCompiler(Source(refused), output);
                if (errors == null)
                    return Assembly.Load(File.ReadAllBytes(output));
                int before = refused.Count;
                foreach (Match match in Regex.Matches(errors, @"row(\d+)\.cs\(\d+,\d+\): error"))
                {
                    int row = int.Parse(match.Groups[1].Value);
                    if (!refused.Contains(row))
                        refused.Add(row);
                }
                if (refused.Count == before)
                    throw new InvalidOperationException(errors);
            }
            throw new InvalidOperationException("the rows do not compile");
        }

        private static string Source(List<int> refused)
        {
            StringBuilder text = new StringBuilder("public static class Rows\n{\n    static object[] Give<T>(T value) { return new object[] { value, typeof(T) }; }\n");
            StringBuilder cases = new StringBuilder();
            for (int i = 0; i < s_expressions.Length; ++i)
            {
                if (refused.Contains(i))
                    continue;
                string[] parts = Split(s_expressions[i]);
                text.Append("    static object[] Row" + i + "()\n    {\n");
                for (int k = 0; k < s_instances.GetLength(0); ++k)
                    text.Append("        " + s_instances[k, 1] + " " + s_instances[k, 0] + " = new " + s_instances[k, 2] + ";\n");
                text.Append("#line 1 \"row" + i + ".cs\"\n");
                string value = parts[parts.Length - 1];
                text.Append(parts.Length == 2 ? parts[0] + "; " : "");
                text.Append("return Give<object>(" + value + "\n);\n#line default\n    }\n");
                cases.Append("        case " + i + ": return Row" + i + "();\n");
            }
            text.Append("    public static object[] Run(int row)\n    {\n        switch (row)\n        {\n" + cases + "        }\n        return null;\n    }\n}\n");
            return text.ToString();
        }

        // Null when it compiles, else what the compiler says.
        private static string RunCompiler(string source, string output)
        {
            string file = Path.ChangeExtension(output, ".cs");
            File.WriteAllText(file, source, new UTF8Encoding(false));
            ProcessStartInfo start = new ProcessStartInfo(Environment.GetEnvironmentVariable("ORV_CSC") ?? "mcs");
            start.Arguments = "-nologo -nowarn:219,168,649,414 -target:library -out:\"" + output + "\" -reference:\"" +
                              Path.Combine(Harness.Folder, "TestLibrary.dll") + "\" \"" + file + "\"";
            start.UseShellExecute = false;
            start.RedirectStandardOutput = true;
            start.RedirectStandardError = true;
            using (Process compiler = Process.Start(start))
            {
                StringBuilder said = new StringBuilder();
                compiler.ErrorDataReceived += delegate(object sender, DataReceivedEventArgs line) { said.AppendLine(line.Data); };
                compiler.BeginErrorReadLine();
                string printed = compiler.StandardOutput.ReadToEnd();
                compiler.WaitForExit();
                return compiler.ExitCode == 0 ? null : printed + said;
            }
        }
    }
}
