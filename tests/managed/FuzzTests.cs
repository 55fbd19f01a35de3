using System;
using System.Text;
using OrvWorkBench;

namespace OrvTest
{
    // Texts that nobody would write, always the same ones: no text may do anything but parse or be refused with a
    // position in it, and no command may answer outside 0 to 13.
    internal static class FuzzTests
    {
        private static readonly string[] s_pieces = {
            "a", "b", "OrvTest", "Overloads", "Data", "Box", "Outer", "Inner", "Color", "Red", "One", "Many", "Same", "Field",
            "Numbers", "Self", "x", "watch", "int", "string", "object", "new", "null", "true", "typeof", "ref", "out", ".", ".",
            ".", "(", ")", "(", ")", "[", "]", "{", "}", "<", ">", ",", "=", "+=", "-=", "-", "+", "!", "~", "|", "?", "$", "$1", "@",
            "1", "0x1F", "2.5", "1e5", "7ul", "\"text\"", "'c'", "@\"v\"", "\\", "\"", "'", "#", " ", "\t", "\0", "\u4E2D",
            ":", "a:", "using", "walk", "walk(", "{ 1, 2 }", "{ Field = 1 }", "new[] {", "System", "Uri",
            "\uD800", "9999999999", "1.5m",
        };

        private static readonly string[] s_texts = {
            "a = OrvTest.Overloads()",
            "b = new OrvTest.Box<int, string[]>(1, \"x\\n\", 'c')",
            "c = int[,] {{1, 2}, {3, 4}}",
            "a.One((byte)5, ref x, out y, new int[] {1, 2u, 3.5e2})",
            "r = OrvTest.Outer+Inner.Count[3].M<int?>(typeof(OrvTest.Color), $, -1)",
            "[TestLibrary]OrvTest.Data.StaticField = OrvTest.Color.Red | OrvTest.Color.Green",
            "d = new OrvTest.Data() { Field = 1, Self = { Small = 2 }, Anything = new[] {1, 2} }",
            "e = System.Collections.Generic.Dictionary<string, int> { { \"a\", 1 }, { \"b\", 2 } }",
            "a.Both(a: ref s, b: out t)",
            "walk(b.Numbers, 1, 2)",
            "using M = OrvTest.Box<int>",
            "b.Rang += watch",
            "\"C:\\some folder\\file.dll\"",
        };

        private static readonly string[] s_commands = { "create", "invoke", "get", "set", "delete" };

        private static void Parse(string text)
        {
            for (int i = 0; i < 6; ++i)
            {
                try
                {
                    switch (i)
                    {
                    case 0:
                        Parser.ParseCreate(text);
                        break;
                    case 1:
                        Parser.ParseInvoke(text);
                        break;
                    case 2:
                        Parser.ParseGet(text);
                        break;
                    case 3:
                        Parser.ParseSet(text);
                        break;
                    case 4:
                        Parser.ParseDelete(text);
                        break;
                    default:
                        Parser.ParseLoad(text);
                        break;
                    }
                }
                catch (CommandError error)
                {
                    Harness.True(error.Position >= 0 && error.Position <= text.Length,
                                 "position " + error.Position + " of " + Printable.Escape(text));
                    Harness.True(error.Message.Length > 0, "no message for " + Printable.Escape(text));
                }
            }
        }

        private static string RandomPieces(Random random)
        {
            StringBuilder text = new StringBuilder();
            for (int count = random.Next(1, 25); count > 0; --count)
                text.Append(s_pieces[random.Next(s_pieces.Length)]);
            return text.ToString();
        }

        private static string RandomCharacters(Random random)
        {
            StringBuilder text = new StringBuilder();
            for (int count = random.Next(0, 40); count > 0; --count)
                text.Append((char)(random.Next(4) == 0 ? random.Next(0x10000) : random.Next(0x20, 0x7F)));
            return text.ToString();
        }

        private static string Mutated(Random random)
        {
            StringBuilder text = new StringBuilder(s_texts[random.Next(s_texts.Length)]);
            for (int count = random.Next(1, 4); count > 0 && text.Length > 0; --count)
            {
                int at = random.Next(text.Length);
                switch (random.Next(4))
                {
                case 0:
                    text.Remove(at, 1);
                    break;
                case 1:
                    text.Insert(at, s_pieces[random.Next(s_pieces.Length)]);
                    break;
                case 2:
                    text.Remove(at, random.Next(text.Length - at) + 1);
                    break;
                default:
                    text.Insert(at, text.ToString(at, Math.Min(text.Length - at, random.Next(1, 8))));
                    break;
                }
            }
            return text.ToString();
        }

        public static void RandomTextsParseOrAreRefused()
        {
            for (int seed = 1; seed <= 3; ++seed)
            {
                Random random = new Random(seed);
                for (int i = 0; i < 3000; ++i)
                {
                    Parse(RandomPieces(random));
                    Parse(RandomCharacters(random));
                    Parse(Mutated(random));
                }
            }
        }

        public static void EveryPrefixOfAGoodTextParsesOrIsRefused()
        {
            foreach (string text in s_texts)
            {
                for (int length = 0; length <= text.Length; ++length)
                    Parse(text.Substring(0, length));
            }
        }

        public static void RandomCommandsAnswerAResultCode()
        {
            Random random = new Random(42);
            int succeeded = 0;
            for (int i = 0; i < 5000; ++i)
            {
                if (i % 500 == 0)
                {
                    Bench.Start();
                    Bench.Do("create", "a = OrvTest.Overloads()");
                    Bench.Do("create", "b = OrvTest.Data()");
                }
                string text = random.Next(2) == 0 ? RandomPieces(random) : Mutated(random);
                string command = s_commands[random.Next(s_commands.Length)];
                int result = Bench.Do(command, text);
                Harness.True(result >= 0 && result <= 13, command + " " + Printable.Escape(text) + " answered " + result);
                string printed = Bench.Printed();
                Harness.True(printed.Length > 0, command + " " + Printable.Escape(text) + " printed nothing");
                Harness.True(!printed.Contains("failed unexpectedly"), command + " " + Printable.Escape(text) + "\n" + printed);
                succeeded += result >= 5 && result <= 10 ? 1 : 0;
            }
            // The texts are not so wild that nothing is ever carried out.
            Harness.True(succeeded > 30, "only " + succeeded + " succeeded");
        }
    }
}
