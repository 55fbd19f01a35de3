using OrvWorkBench;

namespace OrvTest
{
    // How names, conversions and overloads are bound, seen by what the commands answer.
    internal static class BinderTests
    {
        private static void Table(string[,] table)
        {
            for (int i = 0; i < table.GetLength(0); ++i)
                Bench.Expect(table[i, 0], table[i, 1], int.Parse(table[i, 2]), table[i, 3]);
        }

        // Calls of an instance "o" of the class of overloads, with what comes back.
        private static void Calls(string[,] table)
        {
            Bench.Start();
            Bench.Expect("create", "o = OrvTest.Overloads()", 8, "o = OrvTest.Overloads");
            Bench.Expect("create", "five = int[]{5}", 8, "five = int[] (1) { 5 }");
            Bench.Expect("get", "n = five[0]", 5, "n = int 5");
            for (int i = 0; i < table.GetLength(0); ++i)
                Bench.Expect("invoke", "o." + table[i, 0], 10, "=> " + table[i, 1]);
        }

        // Calls that no overload takes or more than one.
        private static void Refused(string[,] table)
        {
            for (int i = 0; i < table.GetLength(0); ++i)
                Bench.Expect("invoke", "o." + table[i, 0], 1, table[i, 1]);
        }

        public static void OverloadsAreChosenAsInCSharp()
        {
            Calls(new string[,] {
                { "One(1)", "string \"int\"" },
                { "One(1u)", "string \"long\"" },
                { "One(1L)", "string \"long\"" },
                { "One(1ul)", "string \"double\"" },
                { "One(1f)", "string \"double\"" },
                { "One('a')", "string \"int\"" },
                { "One((byte)1)", "string \"int\"" },
                { "One(1m)", "string \"object\"" },
                { "One(true)", "string \"object\"" },
                { "One(\"a\")", "string \"string\"" },
                { "One((object)\"a\")", "string \"object\"" },
                { "One(null)", "string \"string\"" },
                { "One({1})", "string \"object\"" },
                { "Small(1)", "string \"byte\"" },
                { "Small(256)", "string \"short\"" },
                { "Small((short)1)", "string \"short\"" },
                { "Signs(1)", "string \"int\"" },
                { "Signs(2147483648)", "string \"uint\"" },
                { "Signs((byte)1)", "string \"int\"" },
                { "Wide(1)", "string \"long\"" },
                { "Wide(1u)", "string \"long\"" },
                { "Wide(9223372036854775808)", "string \"ulong\"" },
                { "Pair(1, 2.0)", "string \"int,double\"" },
                { "Pair(1.0, 2)", "string \"double,int\"" },
                { "Many(1)", "string \"int\"" },
                { "Many()", "string \"params 0\"" },
                { "Many(1, 2, 3)", "string \"params 3\"" },
                { "Many({1, 2})", "string \"params 2\"" },
                { "Many(five)", "string \"params 1\"" },
                { "Text(\"a\")", "string \"format 0\"" },
                { "Text(\"a\", 1, \"b\", null)", "string \"format 3\"" },
                { "Text(\"a\", null)", "string \"format null\"" },
                { "Text(\"a\", (object)null)", "string \"format 1\"" },
                { "Text(\"a\", five)", "string \"format 1\"" },
                { "Text(\"a\", {\"x\", \"y\"})", "string \"format 2\"" },
                { "Ref(1)", "string \"value\"" },
                { "Null(\"a\")", "string \"string\"" },
                { "Null(1)", "string \"int?\"" },
                { "MaybeInt(null)", "string \"none\"" },
                { "MaybeInt(3)", "string \"3\"" },
                { "MaybeLong(3)", "string \"3\"" },
                { "MaybeLong(n)", "string \"5\"" },
                { "Chars('a')", "string \"char\"" },
                { "Chars(97)", "string \"int\"" },
                { "Floats(1.5f)", "string \"float\"" },
                { "Floats(1.5m)", "string \"decimal\"" },
                { "Array({1, 2})", "string \"int[2]\"" },
                { "Array({\"a\"})", "string \"string[1]\"" },
                { "Array(new int[4])", "string \"int[4]\"" },
                { "Doubles({1, 2.5})", "string \"1\"" },
                { "Doubles({1})", "string \"1\"" },
                { "Doubles({})", "string \"0\"" },
                { "Sequence({\"a\", \"b\"})", "string \"a+b\"" },
                { "Block({{1,2,3},{4,5,6}})", "string \"2x3\"" },
                { "Block(new int[4,5])", "string \"4x5\"" },
                { "Shape(new OrvTest.Square(2))", "string \"square 3\"" },
                { "Squared(3)", "string \"9\"" },
                { "Squared(new OrvTest.Square(1.5))", "string \"2.25\"" },
                { "Enumerated(OrvTest.Color.Blue)", "string \"Blue\"" },
                { "Enumerated(0)", "string \"Red\"" },
                { "Enumerated((OrvTest.Color)5)", "string \"Green\"" },
                { "Flags(OrvTest.Access.Read | OrvTest.Access.Write)", "string \"Read, Write\"" },
                { "Same(5)", "int 5" },
                { "Same<long>(5)", "long 5" },
                { "Same(o).Same(\"x\")", "string \"x\"" },
                { "Kind<string>()", "string \"String\"" },
                { "Kind<int, OrvTest.Box<int>>()", "string \"Int32,Box`1\"" },
                { "First({1, 2})", "string \"Int32\"" },
                { "First(\"abc\")", "string \"Char\"" },
                { "Generic(\"a\")", "string \"plain\"" },
                { "Generic(1)", "string \"generic\"" },
                { "Generic<string>(\"a\")", "string \"generic\"" },
                { "Constrained(1)", "string \"Int32\"" },
                { "Twice(1, 2L)", "string \"Int64\"" },
                { "Twice(1L, 2)", "string \"Int64\"" },
                { "Type(typeof(int))", "string \"Int32\"" },
                { "Type(typeof(OrvTest.Box<int?>[]))", "string \"Box`1[]\"" },
                { "Nothing()", "void" },
                { "One($)", "string \"string\"" },
            });
        }

        public static void WhatNoOverloadTakesIsRefusedWithTheCandidates()
        {
            Calls(new string[0, 2]);
            Refused(new string[,] {
                { "Pair(1, 2)", "error at column 3: the call of 'Pair' is ambiguous between" },
                { "Small(70000)", "error at column 3: 'Small' does not take (int); there are" },
                { "Small(n)", "error at column 3: 'Small' does not take (int); there are" },
                { "Signs(-1L)", "error at column 3: 'Signs' does not take (long); there are" },
                { "Ref(ref \"a\")", "error at column 3: 'Ref' does not take (ref string); there are" },
                { "Ref(out x)", "error at column 3: 'Ref' does not take (out); there are" },
                { "TryGet(\"a\", 5)", "error at column 3: 'TryGet' does not take (string, int); there is" },
                { "Enumerated(5)", "error at column 3: 'Enumerated' does not take (int); there is" },
                { "One(ref five, o.Nothing)", "error at column 3: 'One' does not take (ref int[], the method 'Nothing'); there are" },
                { "Constrained(\"a\")", "error at column 3: 'Constrained' does not take (string); there is" },
                { "Kind()", "error at column 3: 'Kind' does not take (); there are" },
                { "Kind<int, int, int>()", "error at column 3: 'Kind'<int, int, int> does not take (); there are" },
                { "One<int>(5)", "error at column 3: 'One'<int> does not take (int); there are" },
                { "Block({{1,2},{3}})", "error at column 3: 'Block' does not take ({...}); there is" },
                { "Pointer(5)", "error at column 3: 'Pointer' does not take (int); there is" },
                { "Squared(2.5)", "error at column 3: 'Squared' does not take (double); there is" },
                { "One(o.Nothing())", "error at column 9: the method returns nothing" },
                { "Nope()", "error at column 3: 'OrvTest.Overloads' has no public instance method 'Nope'" },
                { "one(1)", "error at column 3: 'OrvTest.Overloads' has no public instance method 'one'; there is a method 'One'" },
                { "Static()", "error at column 3: 'OrvTest.Overloads' has no public instance method 'Static'" },
                { "get_Foo()", "error at column 3: 'OrvTest.Overloads' has no public instance method 'get_Foo'" },
            });
            Bench.Do("invoke", "o.Pair(1, 2)");
            Harness.Equal("error at column 3: the call of 'Pair' is ambiguous between\n" +
                          "    string OrvTest.Overloads.Pair(int a, double b)\n" +
                          "    string OrvTest.Overloads.Pair(double a, int b)\n" +
                          "  a cast of an argument decides\n" +
                          "  o.Pair(1, 2)\n" +
                          "    ^", Bench.Printed(), "ambiguous");
        }

        public static void ByReferenceParametersComeBack()
        {
            Bench.Start();
            Table(new string[,] {
                { "create", "o = OrvTest.Overloads()", "8", null },
                { "invoke", "o.TryGet(\"abc\", out length)", "10", "out length = int 3" },
                { "get", "length", "5", "=> int 3" },
                { "invoke", "o.TryGet(\"ab\", out)", "10", "out value = int 2" },
                { "invoke", "o.TryGet(\"abcd\", out length)", "10", "out length = int 4" },
                { "invoke", "o.Ref(ref length)", "10", "ref length = int 5" },
                { "get", "length", "5", "=> int 5" },
                { "invoke", "o.Ref(ref 7)", "10", "ref a = int 8" },
                { "get", "s = length.ToString()", "4", null },
                { "invoke", "s = length.ToString()", "10", "s = string \"5\"" },
            });
            Bench.Do("invoke", "o.Both(ref s, out size)");
            Harness.Equal("ref s = string \"5!\"\nout size = int 2\n=> string \"5!\"", Bench.Printed(), "Both");
        }

        public static void NamesAreResolvedAsInCSharp()
        {
            Bench.Start();
            Table(new string[,] {
                { "get", "Global.Name", "5", "=> string \"global\"" },
                { "get", "OrvTest.Color.Green", "5", "=> OrvTest.Color Green (5)" },
                { "get", "OrvTest.Outer.Inner.Count", "5", "=> int 9" },
                { "get", "OrvTest.Outer+Inner.Count", "5", "=> int 9" },
                { "get", "OrvTest.Outer.Inner.Level.High", "5", "=> OrvTest.Outer.Inner.Level High (1)" },
                { "get", "[TestLibrary]OrvTest.Outer.Inner.Count", "5", "=> int 9" },
                { "get", "int.MaxValue", "5", "=> int 2147483647" },
                { "get", "System.String.Empty", "5", "=> string \"\"" },
                { "get", "string.Empty.Length", "5", "=> int 0" },
                { "create", "i = OrvTest.Outer.Inner()", "8", "i = OrvTest.Outer.Inner" },
                { "create", "j = OrvTest.Outer+Inner", "8", "j = OrvTest.Outer.Inner" },
                { "create", "g = OrvTest.Outer.GenericInner<string>()", "8", "g = OrvTest.Outer.GenericInner<string>" },
                { "invoke", "g.Of()", "10", "=> string \"String\"" },
                { "create", "b = OrvTest.Box<int>(5)", "8", "b = OrvTest.Box<int>" },
                { "get", "b.Content", "5", "=> int 5" },
                { "create", "l = OrvTest.Box<int>.Lid<char>()", "8", "l = OrvTest.Box<int>.Lid<char>" },
                { "invoke", "l.Names()", "10", "=> string \"Int32,Char\"" },
                { "invoke", "OrvTest.Box<long>.Kind()", "10", "=> string \"Int64\"" },
                { "create", "c = OrvTest.@class()", "8", null },
                { "get", "c.@int", "5", "=> int 4" },
                { "create", "\u00FC = OrvTest.Gr\u00F6\u00DFe()", "8", "\u00FC = OrvTest.Gr\u00F6\u00DFe" },
                { "get", "\u00FC.Stra\u00DFe", "5", "=> string \"weg\"" },
                { "create", "d = OrvTest.Derived()", "8", "d = OrvTest.Derived" },
                { "invoke", "d.Who(1)", "10", "=> string \"Derived.Who(double)\"" },
                { "invoke", "((OrvTest.Base)d).Who(1)", "10", "=> string \"Base.Who(int)\"" },
                { "invoke", "((OrvTest.Base)d).Virtual()", "10", "=> string \"Derived\"" },
                { "get", "d.Hidden", "5", "=> int 7" },
                { "get", "((OrvTest.Base)d).Hidden", "5", "=> string \"base field\"" },
                { "invoke", "OrvTest.Derived.StaticOfBase()", "10", "=> string \"static of base\"" },
                { "create", "s = OrvTest.Square(3)", "8", null },
                { "get", "((OrvTest.IShape)s).Area", "5", "=> double 9" },
                { "get", "s.Area", "5", "=> double 9" },
                // An instance hides a namespace or a type of its name.
                { "create", "System = OrvTest.Box<string>(\"mine\")", "8", null },
                { "get", "System.Content", "5", "=> string \"mine\"" },
                { "delete", "System", "5", "deleted System" },
            });
            Table(new string[,] {
                { "get", "nobody", "4", "error at column 1: there is no instance and no type 'nobody'" },
                { "get", "nobody.Name", "4", "error at column 1: there is no instance and no type 'nobody'" },
                { "get", "D.Hidden", "4", "error at column 1: there is no instance and no type 'D'; did you mean d?" },
                { "get", "No.Such.Thing", "12", "error at column 1: there is no instance 'No' and there is no public type 'No.Such'" },
                { "get", "OrvTest.Colour.Red", "12", null },
                { "get", "OrvTest.color.Red", "12", "error at column 1: there is no instance 'OrvTest' and there is no public type 'OrvTest.color'; did you mean OrvTest.Color?" },
                { "get", "OrvTest.Color.Pink", "4", "error at column 15: 'OrvTest.Color' has no public static property or field 'Pink'" },
                { "get", "OrvTest.Color.red", "4", "error at column 15: 'OrvTest.Color' has no public static property or field 'red'; there is a member 'Red'" },
                { "get", "OrvTest.Color", "4", "error at column 9: 'OrvTest.Color' is a type, not a value" },
                { "get", "int", "4", null },
                { "get", "OrvTest.NotPublic.X", "12", null },
                { "get", "[Nope]OrvTest.Color.Red", "11", "error at column 7: no assembly 'Nope' is loaded" },
                { "get", "[TestLibrary]OrvTest.Nope.Red", "12", "error at column 14: there is no public type 'OrvTest.Nope'" },
                { "create", "x = OrvTest.Box()", "12", null },
                { "create", "x = OrvTest.Box<int, int>()", "12", null },
                { "create", "x = OrvTest.Outer.Nope()", "12", "error at column 19: 'OrvTest.Outer' has no public nested type 'Nope'" },
                { "create", "x = Color", "12", "error at column 5: there is no public type 'Color'; did you mean OrvTest.Color?" },
                { "create", "x = string?()", "12", null },
                { "invoke", "nobody.M()", "1", "error at column 1: there is no instance and no type 'nobody'" },
                { "invoke", "nobody()", "1", "error at column 1: there is no instance 'nobody': expected name.Method(arguments)" },
                { "invoke", "No.Such.M()", "12", null },
                { "invoke", "d.Hidden()", "1", null },
                { "invoke", "int(5)", "1", "error at column 1: a type is no method; 'new' makes an instance" },
                { "get", "$.Length.Nope", "4", null },
            });
        }

        public static void PropertiesFieldsAndIndexersAreReadAndSet()
        {
            Bench.Start();
            Table(new string[,] {
                { "create", "d = OrvTest.Data()", "8", "d = OrvTest.Data" },
                { "get", "d.Field", "5", "=> int 1" },
                { "set", "d.Field = 10", "5", "d.Field = int 10" },
                { "get", "d.Self.Itself().Field", "5", "=> int 10" },
                { "set", "d.Self.Field = 'a'", "5", "d.Self.Field = int 97" },
                { "set", "d.Field = 2.5", "4", "error at column 11: cannot convert 'double' to 'int'" },
                { "set", "d.Field = (int)2.9", "5", "d.Field = int 2" },
                { "set", "d.Field = (int)-2.9", "5", "d.Field = int -2" },
                { "set", "d.Field = (int)3000000000", "4", "error at column 11: 3000000000 does not fit 'int'" },
                { "set", "d.Field = -2147483648", "5", "d.Field = int -2147483648" },
                { "set", "d.Small = 255", "5", "d.Small = byte 255" },
                { "set", "d.Small = 256", "4", "error at column 11: cannot convert 'int' to 'byte'" },
                { "set", "d.Small = (byte)256", "4", "error at column 11: 256 does not fit 'byte'" },
                { "set", "d.Small = (byte)OrvTest.Color.Blue", "5", "d.Small = byte 6" },
                { "set", "d.Small = (byte)'A'", "5", "d.Small = byte 65" },
                { "set", "d.Maybe = 5", "5", "d.Maybe = int 5" },
                { "get", "d.Maybe", "5", "=> int 5" },
                { "set", "d.Maybe = null", "5", "d.Maybe = null" },
                { "get", "d.Maybe", "5", "=> int? null" },
                { "set", "d.Field = null", "4", "error at column 11: cannot convert null to 'int'" },
                { "set", "d.ReadOnlyField = 5", "4", "error at column 3: the field 'ReadOnlyField' cannot be changed" },
                { "get", "OrvTest.Data.Constant", "5", "=> string \"constant\"" },
                { "set", "OrvTest.Data.Constant = \"x\"", "4", "error at column 14: the field 'Constant' cannot be changed" },
                { "set", "OrvTest.Data.StaticField = 33", "5", "OrvTest.Data.StaticField = int 33" },
                { "get", "OrvTest.Data.StaticField", "5", "=> int 33" },
                { "set", "OrvTest.Data.StaticProperty = \"p\"", "5", null },
                { "get", "OrvTest.Data.StaticProperty", "5", "=> string \"p\"" },
                { "get", "d.StaticField", "4", "error at column 3: 'OrvTest.Data' has no public instance property or field 'StaticField'" },
                { "get", "OrvTest.Data.Field", "4", "error at column 14: 'OrvTest.Data' has no public static property or field 'Field'" },
                { "set", "d.ReadOnly = \"x\"", "4", "error at column 3: the property 'ReadOnly' cannot be set" },
                { "set", "d.PrivateSet = 1", "4", "error at column 3: the property 'PrivateSet' cannot be set" },
                { "get", "d.WriteOnly", "4", "error at column 3: the property 'WriteOnly' cannot be read" },
                { "set", "d.WriteOnly = \"w\"", "5", null },
                { "invoke", "d.Written()", "10", "=> string \"w\"" },
                { "get", "d.Internal", "4", null },
                { "get", "d.Null.Field", "4", "error at column 3: the value is null" },
                { "set", "d.Null.Field = 1", "4", "error at column 3: the value is null" },
                { "invoke", "d.Null.Written()", "1", "error at column 3: the value is null" },
                { "set", "d[\"k\"] = 4", "5", "d[\"k\"] = int 4" },
                { "get", "d[\"k\"]", "5", "=> int 4" },
                { "get", "d[1, 2]", "5", "=> string \"1:2\"" },
                { "set", "d[1, 2] = \"x\"", "4", null },
                { "get", "d[1.5]", "4", null },
                { "get", "d[\"missing\"]", "13", null },
                { "get", "d.Numbers[1]", "5", "=> int 2" },
                { "set", "d.Numbers[1] = 20", "5", null },
                { "get", "d.Numbers", "5", "=> int[] (3) { 1, 20, 3 }" },
                { "get", "d.Numbers[3]", "4", "error at column 11: the index is outside 0 to 2" },
                { "get", "d.Numbers[-1]", "4", "error at column 11: the index is outside 0 to 2" },
                { "get", "d.Numbers[1.0]", "4", "error at column 11: expected an int, not 'double'" },
                { "get", "d.Numbers[0, 0]", "4", "error at column 10: the array has 1 dimensions" },
                { "get", "d.Grid[1, 0]", "5", "=> int 3" },
                { "set", "d.Grid[1, 0] = 30", "5", null },
                { "get", "d.Grid", "5", "=> int[,] (2, 2) { { 1, 2 }, { 30, 4 } }" },
                { "get", "d.Field[0]", "4", "error at column 8: 'int' has no indexer to read" },
                { "set", "d.Field[0] = 1", "4", "error at column 8: 'int' has no indexer to set" },
                { "get", "string.Empty[0]", "13", null },
                { "set", "d.Anything = {1, 2}", "5", "d.Anything = int[] (2) { 1, 2 }" },
                { "set", "d.Anything = {1, \"a\"}", "4", "error at column 14: cannot convert {...} to 'object'" },
                { "set", "d.Anything = d", "5", null },
                { "get", "d.Anything.Field", "5", "=> int -2147483648" },
                { "invoke", "d.Callback(21)", "10", "=> int 42" },
                { "get", "f = d.Callback", "5", null },
                { "invoke", "f(4)", "10", "=> int 8" },
                { "invoke", "f.Invoke(5)", "10", "=> int 10" },
            });
        }

        public static void StructuresAreCopiedAsInCSharp()
        {
            Bench.Start();
            Table(new string[,] {
                { "create", "d = OrvTest.Data()", "8", null },
                { "create", "p = OrvTest.Point(3, 4)", "8", "p = OrvTest.Point" },
                { "create", "zero = OrvTest.Point()", "8", null },
                { "invoke", "zero.Sum()", "10", "=> int 0" },
                { "set", "p.X = 30", "5", null },
                { "invoke", "p.Sum()", "10", "=> int 34" },
                { "get", "q = p", "5", null },
                { "set", "q.X = 1", "5", null },
                { "get", "p.X", "5", "=> int 30" },
                { "set", "d.PlaceProperty.X = 9", "4", "error at column 17: the change would be lost: 'OrvTest.Point' is a structure, and this is a copy of it" },
                { "set", "d.Place.X = 9", "5", "d.Place.X = int 9" },
                { "get", "d.Place.X", "5", "=> int 9" },
                { "get", "d.Place.Y", "5", "=> int 2" },
                { "set", "d.PlaceProperty = p", "5", null },
                { "get", "d.Place.X", "5", "=> int 30" },
                { "set", "p.X = 2", "5", null },
                { "get", "d.Place.X", "5", "=> int 30" },
            });
        }

        public static void CreationsThatCannotBeMadeAreRefused()
        {
            Bench.Start();
            Table(new string[,] {
                { "create", "x = OrvTest.Abstract()", "3", "error at column 5: 'OrvTest.Abstract' is abstract" },
                { "create", "x = OrvTest.IShape()", "3", "error at column 5: 'OrvTest.IShape' is an interface" },
                { "create", "x = OrvTest.StaticClass()", "3", "error at column 5: 'OrvTest.StaticClass' is a static class" },
                { "create", "x = OrvTest.NoConstructor()", "3", "error at column 5: 'OrvTest.NoConstructor' has no public constructor" },
                { "create", "x = OrvTest.NotPublic()", "12", null },
                { "create", "x = System.EventHandler()", "3", "error at column 5: 'System.EventHandler' is a delegate: it is made of one method, such as new System.EventHandler(x.Method)" },
                { "create", "x = OrvTest.Square()", "3", null },
                { "create", "x = OrvTest.Square(\"a\")", "3", null },
                { "create", "x = new int[-1]", "3", "error at column 13: an array's size cannot be negative" },
                { "create", "x = int[] {1, \"a\"}", "3", "error at column 11: the elements do not make a 'int[]'" },
                { "create", "x = OrvTest.Failing(\"why\")", "13", "exception System.ArgumentException: why" },
                { "get", "x", "4", null },
                { "create", "x = OrvTest.Color", "8", "x = OrvTest.Color Red (0)" },
                { "create", "x = OrvTest.Square(2)", "9", "exists: x = OrvTest.Color Red (0)" },
                { "create", "y = new int[2,3]", "8", "y = int[,] (2, 3) { { 0, 0, 0 }, { 0, 0, 0 } }" },
                { "create", "z = int[][] {{1}, {2, 3}}", "8", "z = int[][] (2) { int[] (1) { 1 }, int[] (2) { 2, 3 } }" },
                { "create", "e = double[] {1, 2.5, 'a'}", "8", "e = double[] (3) { 1, 2.5, 97 }" },
            });
        }

        public static void TwinTypesNeedTheirAssembly()
        {
            Bench.Start();
            Bench.Expect("invoke", "OrvTest.Twin.Assembly()", 10, "=> string \"TestLibrary\"");
            Harness.Equal(6, Bench.Load("Twin.dll"), "twin");
            Bench.Printed();
            Bench.Expect("invoke", "OrvTest.Twin.Assembly()", 1,
                         "error at column 1: two loaded assemblies have a type 'OrvTest.Twin': write [TestLibrary]OrvTest.Twin or [Twin]OrvTest.Twin");
            Bench.Expect("invoke", "[Twin]OrvTest.Twin.Assembly()", 10, "=> string \"Twin\"");
            Bench.Expect("invoke", "[testlibrary]OrvTest.Twin.Assembly()", 10, "=> string \"TestLibrary\"");
            Bench.Expect("create", "t = [Twin]OrvTest.Twin()", 8, "t = OrvTest.Twin");
        }
    }
}
