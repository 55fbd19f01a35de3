using System;
using System.Collections.Generic;
using System.Text;
using OrvWorkBench;

namespace OrvTest
{
    internal static class ParserTests
    {
        private delegate string Parse(string text);

        private static string ParseBy(string command, string text)
        {
            switch (command)
            {
            case "create":
                return SyntaxText.Of(Parser.ParseCreate(text));
            case "invoke":
                return SyntaxText.Of(Parser.ParseInvoke(text));
            case "get":
                return SyntaxText.Of(Parser.ParseGet(text));
            case "set":
                return SyntaxText.Of(Parser.ParseSet(text));
            case "delete":
                return Parser.ParseDelete(text).Name;
            case "load":
                LoadCommand load = Parser.ParseLoad(text);
                return (load.IsPath ? "path " : "name ") + load.Text;
            default:
                throw new ArgumentException(command);
            }
        }

        private static void Good(string[,] table)
        {
            for (int i = 0; i < table.GetLength(0); ++i)
            {
                try
                {
                    Harness.Equal(table[i, 2], ParseBy(table[i, 0], table[i, 1]), table[i, 0] + " " + table[i, 1]);
                }
                catch (CommandError error)
                {
                    Harness.True(false, table[i, 0] + " " + table[i, 1] + ": " + error.Position + " " + error.Message);
                }
            }
        }

        // The position is that of the mark '^' in the second text, which is removed.
        private static void Bad(string[,] table)
        {
            for (int i = 0; i < table.GetLength(0); ++i)
            {
                int position = table[i, 1].IndexOf('^');
                string text = table[i, 1].Remove(position, 1);
                try
                {
                    string parsed = ParseBy(table[i, 0], text);
                    Harness.True(false, table[i, 0] + " " + text + " was taken as " + parsed);
                }
                catch (CommandError error)
                {
                    Harness.Equal(table[i, 2], error.Message, table[i, 0] + " " + text);
                    Harness.Equal(position, error.Position, table[i, 0] + " " + text);
                }
            }
        }

        public static void LoadsByPathOrName()
        {
            Good(new string[,] {
                { "load", "C:\\lib\\My.dll", "path C:\\lib\\My.dll" },
                { "load", "My.dll", "path My.dll" },
                { "load", "My.EXE", "path My.EXE" },
                { "load", "lib/my", "path lib/my" },
                { "load", "  \"my lib.dll\"  ", "path my lib.dll" },
                { "load", "System.Xml", "name System.Xml" },
                { "load", "System, Version=2.0.0.0, Culture=neutral, PublicKeyToken=b77a5c561934e089",
                  "name System, Version=2.0.0.0, Culture=neutral, PublicKeyToken=b77a5c561934e089" },
                { "load", "\u00E4\u4E2D.dll", "path \u00E4\u4E2D.dll" },
            });
            Bad(new string[,] {
                { "load", "^", "expected an assembly's path or display name" },
                { "load", "   ^", "expected an assembly's path or display name" },
                { "load", "^\"\"", "expected an assembly's path or display name" },
                { "load", " ^\"a.dll", "a quote is not closed" },
                { "load", "\"a.dll\"^ b", "unexpected text after the closing quote" },
                { "load", "a^\"b.dll", "unexpected quote" },
                { "load", "a^\0b.dll", "unexpected character '\\0'" },
            });
        }

        public static void Creates()
        {
            Good(new string[,] {
                { "create", "a = N.T()", "a = (new N.T)" },
                { "create", "a=new N.T(1,\"x\")", "a = (new N.T int 1 string \"x\")" },
                { "create", "a = N.T", "a = (new N.T)" },
                { "create", "a = N.Outer+Inner()", "a = (new N.Outer.Inner)" },
                { "create", "a = N.Box<int, N.Box<string[]>>()", "a = (new N.Box<int, N.Box<string[]>>)" },
                { "create", "a = [My-Lib.Core]N.T()", "a = (new [My-Lib.Core]N.T)" },
                { "create", "a = [\"my lib\"]N.T()", "a = (new [my lib]N.T)" },
                { "create", "a = int[] {1, 2}", "a = (new int[] {int 1, int 2})" },
                { "create", "a = new int[3]", "a = (new int[] sizes int 3)" },
                { "create", "a = new int[3, 4][]", "a = (new int[,][] sizes int 3, int 4)" },
                { "create", "a = int[,] {{1},{2}}", "a = (new int[,] {{int 1}, {int 2}})" },
                { "create", "a = int?[] {null}", "a = (new int?[] {null})" },
                { "create", "a = N.T(x: 1, y: ref b, z: out c)", "a = (new N.T x@int 1 y@ref:b:b z@out:c:)" },
                { "create", "a = N.T { X = 1, Y = { Z = {1} } }", "a = (new N.T <X := int 1; Y := <Z := <add int 1>>>)" },
                { "create", "a = new N.T(1) { 1, {2, 3} }", "a = (new N.T int 1 <add int 1; add int 2, int 3>)" },
                { "create", "a = N.T { }", "a = (new N.T <>)" },
                { "create", "a = new[] {1, 2}", "a = (new [] {int 1, int 2})" },
                { "create", "a = new int[2] {1, 2}", "a = (new int[] sizes int 2 {int 1, int 2})" },
                { "create", "@new = N.T()", "new = (new N.T)" },
                { "create", "gr\u00F6\u00DFe = N.Gr\u00F6\u00DFe()", "gr\u00F6\u00DFe = (new N.Gr\u00F6\u00DFe)" },
            });
            Bad(new string[,] {
                { "create", "^", "expected a name for the new instance but found the end" },
                { "create", "^5 = N.T()", "expected a name for the new instance but found '5'" },
                { "create", "^new N.T()", "expected a name for the new instance but found 'new'" },
                { "create", "a^", "expected '=' but found the end" },
                { "create", "a^.b = N.T()", "expected '=' but found '.'" },
                { "create", "a =^", "expected a type's name but found the end" },
                { "create", "a = ^5", "expected a type's name but found '5'" },
                { "create", "a = N.^", "expected a type's name but found the end" },
                { "create", "a = N.T(^", "expected a value but found the end" },
                { "create", "a = N.T(1^", "expected ',' or ')' but found the end" },
                { "create", "a = N.T(1,^)", "expected a value but found ')'" },
                { "create", "a = N.T() ^b", "expected the end but found 'b'" },
                { "create", "a = N.Box<^>()", "expected a type's name but found '>'" },
                { "create", "a = N.Box<int^()", "expected '>' but found '('" },
                { "create", "a = int[]^", "expected '{' but found the end" },
                { "create", "a = int[] {1,^}", "expected a value but found '}'" },
                { "create", "a = N.T(x: 1, ^2)", "what follows a named argument needs its name too" },
                { "create", "a = N.T(x: 1, ^x: 2)", "the parameter 'x' is given twice" },
                { "create", "a = N.T(x: ^)", "expected a value but found ')'" },
                { "create", "a = N.T { X = 1, ^2 }", "expected a member's name but found '2'" },
                { "create", "a = N.T { 1, X ^= 2 }", "expected '}' but found '='" },
                { "create", "a = N.T { ^{ } }", "an element is empty" },
                { "create", "a = N.T { X = 1 ^", "expected '}' but found the end" },
                { "create", "a = [Lib ^N.T()", "expected ']' but found 'N'" },
                { "create", "a = [^]N.T()", "expected an assembly's name but found ']'" },
            });
        }

        public static void Invokes()
        {
            Good(new string[,] {
                { "invoke", "a.M()", "(call (a.M))" },
                { "invoke", "r = a.M(1)", "r = (call (a.M) int 1)" },
                { "invoke", "N.T.M(a, b.C, $)", "(call ((N.T).M) a (b.C) $)" },
                { "invoke", "a.B[2].C().D(null)", "(call ((call ((index (a.B) int 2).C)).D) null)" },
                { "invoke", "a.M<int>(ref x, out y, out)", "(call (a.M<int>) ref:x:x out:y: out:-:)" },
                { "invoke", "a.M(ref b.C)", "(call (a.M) ref:-:(b.C))" },
                { "invoke", "int.Parse(\"5\")", "(call (<int>.Parse) string \"5\")" },
                { "invoke", "a.M({1, {2}})", "(call (a.M) {int 1, {int 2}})" },
                { "invoke", "a.M(new N.T(1).P)", "(call (a.M) ((new N.T int 1).P))" },
                { "invoke", "a.M((N.I)b)", "(call (a.M) (cast N.I b))" },
                { "invoke", "a.M((b))", "(call (a.M) b)" },
                { "invoke", "a.M((int)-1)", "(call (a.M) (cast int (- int 1)))" },
                { "invoke", "a.M(-1, +1, !true, ~2)", "(call (a.M) (- int 1) (+ int 1) (! bool true) (~ int 2))" },
                { "invoke", "((N.I)b).M()", "(call ((cast N.I b).M))" },
                { "invoke", "a.M(N.E.A | N.E.B | c)", "(call (a.M) ((((N.E).A) | ((N.E).B)) | c))" },
                { "invoke", "a.M(typeof(N.T[]))", "(call (a.M) (typeof N.T[]))" },
                { "invoke", "d(1)", "(call d int 1)" },
                { "invoke", "[Lib]N.T.M()", "(call (([Lib]N.T).M))" },
                { "invoke", "N.O+I.M()", "(call (((N.O)+I).M))" },
                { "invoke", " a . M ( 1 ) ", "(call (a.M) int 1)" },
                { "invoke", "a.@new()", "(call (a.new))" },
            });
            Bad(new string[,] {
                { "invoke", "^", "expected a value but found the end" },
                { "invoke", "^a", "this is not a call: expected name.Method(arguments)" },
                { "invoke", "a.^b", "this is not a call: expected name.Method(arguments)" },
                { "invoke", "r = ^5", "this is not a call: expected name.Method(arguments)" },
                { "invoke", "a.^(1)", "expected a member's name but found '('" },
                { "invoke", "a.M(1 ^2)", "expected ',' or ')' but found '2'" },
                { "invoke", "a.M(1^", "expected ',' or ')' but found the end" },
                { "invoke", "a.M()^;", "unexpected character ';'" },
                { "invoke", "a.M() ^b", "expected the end but found 'b'" },
                { "invoke", "a.M(ref^)", "expected a value but found ')'" },
                { "invoke", "a.M((^ref x))", "'ref' stands only before an argument" },
                { "invoke", "a.M((^out x))", "'out' stands only before an argument" },
                { "invoke", "a.M(ref ^)", "expected a value but found ')'" },
                { "invoke", "a.M()^b)", "expected the end but found 'b'" },
                { "invoke", "a.M(a^[])", "an indexer needs an index" },
                { "invoke", "a.M(typeof ^x)", "expected '(' but found 'x'" },
                { "invoke", "a.M(typeof(^5))", "expected a type's name but found '5'" },
                { "invoke", "a.M(new N.T^)", "expected '(' but found ')'" },
                { "invoke", "a.M(^--b)", "expected a value but found '--'" },
                { "invoke", "a.M(b^++)", "expected ',' or ')' but found '++'" },
                { "invoke", "a.M(^---b)", "expected a value but found '--'" },
                { "invoke", "a.M(1 ^+ 2)", "expected ',' or ')' but found '+'" },
                { "invoke", "r = ^s = a.M()", "this is not a call: expected name.Method(arguments)" },
            });
        }

        public static void GetsAndSets()
        {
            Good(new string[,] {
                { "get", "a", "a" },
                { "get", "$", "$" },
                { "get", "x = $12", "x = $12" },
                { "get", "$1.A[$]", "(index ($1.A) $)" },
                { "set", "$3.B = $4", "($3.B) = $4" },
                { "get", "x = a.B", "x = (a.B)" },
                { "get", "a[1, \"k\"]", "(index a int 1 string \"k\")" },
                { "get", "a.M().P", "((call (a.M)).P)" },
                { "get", "int.MaxValue", "(<int>.MaxValue)" },
                { "get", "(N.I)a.B", "(cast N.I (a.B))" },
                { "get", "x = ((N.I)a)", "x = (cast N.I a)" },
                { "set", "a.B = 5", "(a.B) = int 5" },
                { "set", "a[0] = {1}", "(index a int 0) = {int 1}" },
                { "set", "a.E += watch", "(a.E) += watch" },
                { "set", "a.E -= watch", "(a.E) -= watch" },
                { "set", "N.T.B=(int)c", "((N.T).B) = (cast int c)" },
                { "set", "a.B = -1", "(a.B) = (- int 1)" },
                { "delete", " a ", "a" },
            });
            Bad(new string[,] {
                { "get", "a.^M()", "expected a property, a field, an indexer or an instance" },
                { "get", "^5", "expected a property, a field, an indexer or an instance" },
                { "get", "a.B ^= 5", "expected the end but found '='" },
                { "set", "^a = 5", "expected a property, a field or an indexer" },
                { "set", "a.^M() = 5", "expected a property, a field or an indexer" },
                { "set", "a.B ^5", "expected '=' but found '5'" },
                { "set", "a.B =^", "expected a value but found the end" },
                { "set", "a.B = 5 ^6", "expected the end but found '6'" },
                { "set", "using A^+B", "expected the end but found '+'" },
                { "set", "using A.B^<int>", "expected the end but found '<'" },
                { "set", "using A.^", "expected a name but found the end" },
                { "set", "using A = B ^C", "expected the end but found 'C'" },
                { "delete", "using A^+B", "expected the end but found '+'" },
                { "set", "a[0] ^+= watch", "only an event takes '+='" },
                { "delete", "^", "expected an instance's name but found the end" },
                { "delete", "a^.b", "expected the end but found '.'" },
                { "delete", "^int", "expected an instance's name but found 'int'" },
            });
        }

        public static void Literals()
        {
            string[,] table = {
                { "0", "int 0" },
                { "2147483647", "int 2147483647" },
                { "2147483648", "uint 2147483648" },
                { "4294967296", "long 4294967296" },
                { "9223372036854775808", "ulong 9223372036854775808" },
                { "1u", "uint 1" },
                { "1L", "long 1" },
                { "1ul", "ulong 1" },
                { "1LU", "ulong 1" },
                { "0xFF", "int 255" },
                { "0xFFFFFFFF", "uint 4294967295" },
                { "0xFFFFFFFFFFFFFFFF", "ulong 18446744073709551615" },
                { "0x1L", "long 1" },
                { "1.5", "double 1.5" },
                { ".5", "double 0.5" },
                { "1e3", "double 1000" },
                { "1.5E-2", "double 0.015" },
                { "1f", "float 1" },
                { "1.5F", "float 1.5" },
                { "1d", "double 1" },
                { "1.10m", "decimal 1.10" },
                { "79228162514264337593543950335m", "decimal 79228162514264337593543950335" },
                { "'a'", "char 'a'" },
                { "'\\''", "char '\\''" },
                { "'\\u4E2D'", "char '\u4E2D'" },
                { "'\\x41'", "char 'A'" },
                { "'\\0'", "char '\\0'" },
                { "'\"'", "char '\"'" },
                { "\"\"", "string \"\"" },
                { "\"a\\tb\\\\c\\\"\"", "string \"a\\tb\\\\c\\\"\"" },
                { "\"\\U0001F600\"", "string \"\U0001F600\"" },
                { "@\"C:\\x \"\"y\"\"\"", "string \"C:\\\\x \\\"y\\\"\"" },
                { "\"\u00E4\u4E2D\"", "string \"\u00E4\u4E2D\"" },
            };
            for (int i = 0; i < table.GetLength(0); ++i)
            {
                List<Token> tokens = Lexer.Read(table[i, 0]);
                Harness.Equal(2, tokens.Count, table[i, 0]);
                Harness.Equal(table[i, 1], Formatter.ShowTyped(tokens[0].Value, null), table[i, 0]);
            }
            Bad(new string[,] {
                { "get", "a[1^x]", "unknown number suffix 'x'; known are u, l, ul, f, d, m" },
                { "get", "a[^18446744073709551616]", "the number is too large for any integer type" },
                { "get", "a[^1.5u]", "'1.5u' is not a number: a fraction cannot have the suffix 'u'" },
                { "get", "a[^0x]", "a hexadecimal number has no digits" },
                { "get", "a[1^e]", "an exponent has no digits" },
                { "get", "a[1^e+]", "an exponent has no digits" },
                { "get", "a[^1e999]", "the number is too large for double" },
                { "get", "a[^1e39f]", "the number is too large for float" },
                { "get", "a[^1e29m]", "the number is too large for decimal" },
                { "get", "a[^\"x]", "a string is not closed" },
                { "get", "a[^@\"x]", "a string is not closed" },
                { "get", "a[\"^\\q\"]", "unknown escape '\\q'; for a path use \\\\ or @\"...\"" },
                { "get", "a[\"^\\u12\"]", "the escape needs 4 hexadecimal digits" },
                { "get", "a[\"^\\U00110000\"]", "the escape is no Unicode character" },
                { "get", "a[\"^\\U0000D800\"]", "the escape is no Unicode character" },
                { "get", "a[\"^\\UFFFFFFFF\"]", "the escape is no Unicode character" },
                { "get", "a[\"x^\\", "an escape is not complete" },
                { "get", "a[^\"x\ny\"]", "a string is not closed" },
                { "get", "a[^'\u2028']", "a character is not closed" },
                { "get", "a[^'']", "a character is empty" },
                { "get", "a[^'", "a character is not closed" },
                { "get", "a[^'a", "a character is not closed" },
                { "get", "a[^'ab']", "more than one character between the quotes" },
                { "get", "a[^'\\U0001F600']", "the character needs two UTF-16 units; use a string" },
                { "get", "$1^a", "expected the end but found 'a'" },
                { "get", "$ ^1", "expected the end but found '1'" },
                { "get", "$1^$2", "expected the end but found '$2'" },
                { "get", "a^#b", "unexpected character '#'" },
                { "get", "a^\0b", "unexpected character '\\0'" },
                { "get", "a^\uD800", "unexpected character '\\ud800'" },
            });
        }

        private static string Repeat(string text, int count)
        {
            StringBuilder all = new StringBuilder();
            for (int i = 0; i < count; ++i)
                all.Append(text);
            return all.ToString();
        }

        private static void Refused(string text, string message)
        {
            try
            {
                Parser.ParseInvoke(text);
                Harness.True(false, "taken: " + text.Substring(0, 40));
            }
            catch (CommandError error)
            {
                Harness.Equal(message, error.Message, text.Substring(0, 40));
            }
        }

        public static void DepthIsBounded()
        {
            Refused("a.M(" + Repeat("(", 100000), "the text nests more than 100 deep");
            Refused("a.M(" + Repeat("- ", 100000), "the text nests more than 100 deep");
            Refused("a.M(" + Repeat("{", 100000), "the text nests more than 100 deep");
            Refused("a.M(" + Repeat("(int)", 100000), "the text nests more than 100 deep");
            Refused("a" + Repeat(".M(b", 100000), "the text nests more than 100 deep");
            Refused("a.M<" + Repeat("A<", 100000), "the text nests more than 100 deep");
            Refused("a" + Repeat(".M()", 100000), "more than 200 members and calls in a row");
            Refused("a.M(1" + Repeat("|1", 100000) + ")", "more than 200 '|' in a row");
            // What the documents say, to the last one: the arguments are a level of their own.
            Parser.ParseInvoke("a.M(" + Repeat("(", 99) + "1" + Repeat(")", 99) + ")");
            Refused("a.M(" + Repeat("(", 100) + "1" + Repeat(")", 100) + ")", "the text nests more than 100 deep");
            Parser.ParseInvoke("a.M(" + Repeat("{", 99) + "1" + Repeat("}", 99) + ")");
            Refused("a.M(" + Repeat("{", 100) + "1" + Repeat("}", 100) + ")", "the text nests more than 100 deep");
            Parser.ParseInvoke("a.M(" + Repeat("- ", 99) + "1)");
            Refused("a.M(" + Repeat("- ", 100) + "1)", "the text nests more than 100 deep");
            Parser.ParseInvoke("a.M<" + Repeat("A<", 99) + "int" + Repeat(">", 99) + ">()");
            Refused("a.M<" + Repeat("A<", 100) + "int" + Repeat(">", 100) + ">()", "the text nests more than 100 deep");
            Parser.ParseInvoke("a" + Repeat(".M()", 100));
            Refused("a" + Repeat(".M()", 100) + ".M", "more than 200 members and calls in a row");
            // Long chains inside of each other.
            Parser.ParseInvoke("a" + Repeat(".M()", 98) + ".M(b" + Repeat(".P", 99) + ")");
            Refused("a" + Repeat(".M(b", 50) + Repeat(".P", 150) + Repeat(")" + Repeat(".P", 150), 50), "more than 300 expressions in each other");
            Parser.ParseInvoke("a.M(" + Repeat("1,", 20000) + "1)");
        }
    }
}
