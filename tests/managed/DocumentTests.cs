using System;
using System.Collections.Generic;
using System.IO;
using System.Text.RegularExpressions;
using OrvWorkBench;

namespace OrvTest
{
    // What docs/commands.md shows happens: its examples are carried out, and texts made by its grammar are taken.
    internal static class DocumentTests
    {
        private static string[] Lines
        {
            get
            {
                for (string folder = Harness.Folder; folder != null; folder = Path.GetDirectoryName(folder))
                {
                    string file = Path.Combine(folder, "docs/commands.md");
                    if (File.Exists(file))
                        return File.ReadAllText(file).Replace("\r", "").Split('\n');
                }
                throw new FileNotFoundException("docs/commands.md is in no folder above the test program");
            }
        }

        // The indented lines of a chapter, without the indentation.
        private static List<string> ExamplesOf(string chapter)
        {
            List<string> examples = new List<string>();
            bool isIn = false;
            foreach (string line in Lines)
            {
                if (line.StartsWith("#"))
                    isIn = line == "## " + chapter;
                else if (isIn && line.StartsWith("    "))
                    examples.Add(line.Substring(4));
            }
            Harness.True(examples.Count > 0, chapter + " has no examples");
            return examples;
        }

        public static void TheSessionGoesAsItIsShown()
        {
            string before = Directory.GetCurrentDirectory();
            Directory.SetCurrentDirectory(Path.Combine(Path.Combine(Path.Combine(Harness.Folder, ".."), ".."), "bin"));
            try
            {
                Bench.Start();
                CInvoke.Reset("");
                CarryOut(ExamplesOf("A session"));
            }
            finally
            {
                Directory.SetCurrentDirectory(before);
            }
        }

        public static void TheWalkGoesAsItIsShown()
        {
            Bench.Start();
            CarryOut(ExamplesOf("What is printed"));
        }

        // A command begins at the margin; what it prints is indented.
        private static void CarryOut(List<string> examples)
        {
            TextWriter before = Console.Out;
            int at = 0;
            while (at < examples.Count)
            {
                Match command = Regex.Match(examples[at], @"^(\w+) +(.+)$");
                Harness.True(command.Success, "no command: " + examples[at]);
                List<string> shown = new List<string>();
                while (++at < examples.Count && examples[at].StartsWith("        "))
                    shown.Add(examples[at].Substring(8));
                Bench.Printed();
                Console.SetOut(Bench.Writer);
                Bench.Do(command.Groups[1].Value, command.Groups[2].Value);
                Console.SetOut(before);
                Compare(command.Value, shown, new List<string>(Bench.Printed().Split('\n')));
            }
        }

        // "..." at the end of a line stands for the rest of it, and for lines behind it.
        private static void Compare(string command, List<string> shown, List<string> printed)
        {
            int at = 0;
            bool mayFollow = false;
            foreach (string line in shown)
            {
                string expected = line.Replace("C:\\lib", Directory.GetCurrentDirectory()).Replace('\\', Path.DirectorySeparatorChar);
                bool isOpen = expected.EndsWith(" ...");
                if (isOpen)
                    expected = expected.Substring(0, expected.Length - 4);
                while (mayFollow && at < printed.Count && !IsLike(printed[at], expected, isOpen))
                    ++at;
                Harness.True(at < printed.Count && IsLike(printed[at], expected, isOpen),
                             command + "\n    shown:   " + expected + "\n    printed: " + string.Join("\n             ", printed.ToArray()));
                ++at;
                mayFollow = isOpen;
            }
            Harness.True(mayFollow || at == printed.Count, command + " prints more than is shown: " + string.Join("\n", printed.ToArray()));
        }

        private static bool IsLike(string printed, string expected, bool isOpen)
        {
            return isOpen ? printed.StartsWith(expected, StringComparison.Ordinal) : printed == expected;
        }

        public static void TheGrammarsTextsAreTaken()
        {
            Grammar grammar = new Grammar(ExamplesOf("Grammar"), 20);
            foreach (string command in new string[] { "create", "invoke", "get", "set", "delete" })
            {
                int taken = 0;
                for (int i = 0; i < 3000; ++i)
                {
                    string text = grammar.Text(command);
                    if (IsExcepted(text))
                        continue;
                    ++taken;
                    try
                    {
                        Parse(command, text);
                    }
                    catch (CommandError error)
                    {
                        Harness.True(false, command + " " + text + "\n    " + error.Position + ": " + error.Message);
                    }
                }
                Harness.True(taken > 1000, command + " was tried " + taken + " times");
            }
        }

        // Texts of the grammar with some words taken out, doubled or exchanged: what is still taken, the grammar makes too.
        public static void NothingElseIsTaken()
        {
            Grammar grammar = new Grammar(ExamplesOf("Grammar"), 21);
            Random random = new Random(22);
            foreach (string command in new string[] { "create", "invoke", "get", "set", "delete" })
            {
                int taken = 0;
                for (int i = 0; i < 1500; ++i)
                {
                    string text = Changed(grammar.Text(command), random);
                    try
                    {
                        Parse(command, text);
                    }
                    catch (CommandError)
                    {
                        continue;
                    }
                    ++taken;
                    Harness.True(grammar.Makes(command, text), command + " " + text + " is taken");
                }
                Harness.True(taken > 50, command + " was taken " + taken + " times");
            }
        }

        // With names that there are, some are carried out, and none fails for a reason that nobody has thought of: Bench sees
        // to that.
        public static void TheGrammarsTextsAreCarriedOutOrRefused()
        {
            string[] names = { "h", "h", "h", "o", "o", "d", "d", "s", "f", "x", "OrvTest", "Color", "Red", "Holder", "Box", "Data", "Access", "Read", "System",
                               "Text", "Words", "Numbers", "Map", "Maybe", "None", "Counter", "Counters", "Inner", "Callback", "Fixed", "Count", "Length", "Value",
                               "Same", "One", "Ref", "TryGet", "Many", "First", "Add", "ToString", "GetType", "Equals", "Grid", "Place", "Self", "Null", "a", "T" };
            Grammar grammar = new Grammar(ExamplesOf("Grammar"), 23, names);
            int succeeded = 0;
            for (int i = 0; i < 1000; ++i)
            {
                if (i % 200 == 0)
                {
                    Bench.Start();
                    foreach (string made in new string[] { "h = OrvTest.Holder()", "o = OrvTest.Overloads()", "d = OrvTest.Data()", "s = OrvTest.Square(2)", "f = OrvTest.Fancy()" })
                        Bench.Do("create", made);
                }
                string command = new string[] { "create", "invoke", "get", "set" }[i % 4];
                string text = grammar.Text(command);
                int result = Bench.Do(command, text);
                succeeded += result >= 5 && result <= 10 ? 1 : 0;
                Harness.True(Bench.Printed().Length > 0, command + " " + text + " printed nothing");
            }
            Harness.True(succeeded > 15, "only " + succeeded + " succeeded");
        }

        private static string Changed(string text, Random random)
        {
            string[] others = { "n", "5", "(", ")", "[", "]", "{", "}", ".", ",", "+", "-", "~", "|", "?", "<", ">", "=", ":", "new", "ref", "out", "int",
                                "$", "$3", "typeof", "using", "watch", "+=", "\"a\"", "null" };
            List<string> words = new List<string>();
            foreach (Match word in Regex.Matches(text, @"@?""[^""]*""|'[^']*'|\$?[\w.]+|[+-]=|\S"))
                words.Add(word.Value);
            for (int count = random.Next(1, 4); count > 0 && words.Count > 0; --count)
            {
                int at = random.Next(words.Count);
                string other = random.Next(2) == 0 ? others[random.Next(others.Length)] : words[random.Next(words.Count)];
                switch (random.Next(3))
                {
                case 0:
                    words.RemoveAt(at);
                    break;
                case 1:
                    words.Insert(at, other);
                    break;
                default:
                    words[at] = other;
                    break;
                }
            }
            return string.Join(" ", words.ToArray());
        }

        // What stands below the grammar: "(name)" before a sign, and "(type)" before '[', are no casts; in a filling, '{' begins
        // no value.
        private static bool IsExcepted(string text)
        {
            if (Regex.IsMatch(text, @"\)\s*\[[^\[\]]*\]\s*\w|[{,]\s*\{[^{}]*\}\s*[|.+(\[]"))
                return true;
            foreach (Match match in Regex.Matches(text, @"([\w>]+)\s*\)\s*[-+]"))
            {
                if (!Lexer.IsKeyword(match.Groups[1].Value))
                    return true;
            }
            return false;
        }

        private static void Parse(string command, string text)
        {
            switch (command)
            {
            case "create":
                Parser.ParseCreate(text);
                break;
            case "invoke":
                Parser.ParseInvoke(text);
                break;
            case "get":
                Parser.ParseGet(text);
                break;
            case "set":
                // Which word that is, the command says when it is carried out.
                SetCommand set = Parser.ParseSet(text);
                if (set.Using == null && set.Operator != "=" && SyntaxText.Of(set.Value) != "watch")
                    throw new CommandError(-1, "no watch");
                break;
            default:
                Parser.ParseDelete(text);
                break;
            }
        }
    }
}
