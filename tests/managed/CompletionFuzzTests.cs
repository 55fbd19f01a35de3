using System;
using System.Collections.Generic;
using System.Text;
using OrvWorkBench;

namespace OrvTest
{
    // A completion answers at every place of every line, also of one that nobody would write.
    internal static class CompletionFuzzTests
    {
        private const string c_signs = "()[]{}<>,.=+-!~|?$:1@\"'\\ \t#0aT\0\u4E2D\uD800";

        // How many entries there are. Each belongs to the line and goes on with what is typed.
        private static int Ask(string line)
        {
            IList<CompletionEntry> entries;
            try
            {
                entries = Completion.Of(Look.At, line).Entries;
            }
            catch (Exception error)
            {
                Harness.True(false, Printable.Escape(line) + " raises " + error);
                return 0;
            }
            foreach (CompletionEntry entry in entries)
            {
                string typed = entry.At < 0 || entry.At > line.Length ? null : line.Substring(entry.At);
                bool isWhole = entry.Text.StartsWith("[", StringComparison.Ordinal);
                bool fits = typed != null && (isWhole || entry.Text.TrimStart('@').StartsWith(typed.TrimStart('@'), StringComparison.OrdinalIgnoreCase));
                Harness.True((fits || (entry.Text.Length == 0 && typed == "")) && entry.Kind.Length > 0 && entry.Shown.Length > 0,
                             Printable.Escape(line) + " offers " + entry.At + " " + entry.Text);
            }
            return entries.Count;
        }

        public static void EveryStartOfALineIsAnswered()
        {
            CompletionLines.Start();
            int answered = 0;
            int asked = 0;
            foreach (string line in CompletionLines.All)
            {
                for (int length = 0; length <= line.Length; ++length)
                {
                    ++asked;
                    answered += Ask(line.Substring(0, length)) > 0 ? 1 : 0;
                }
            }
            Harness.True(answered > 2000, answered + " of " + asked + " have an answer");
        }

        // What can be written in an expression, statement or refused.
        public static void EveryStartOfAnExpressionIsAnswered()
        {
            CompletionLines.Start();
            for (int i = 0; i < CSharpTests.s_instances.GetLength(0); ++i)
                CInvoke.CreateType(CSharpTests.s_instances[i, 0] + " = " + CSharpTests.s_instances[i, 2]);
            Bench.Printed();
            int answered = 0;
            foreach (string expression in CSharpTests.s_expressions)
            {
                string line = (expression.Contains(" = ") ? "set " : "set q.Next = ") + expression.Split(';')[0];
                for (int length = 4; length <= line.Length; ++length)
                    answered += Ask(line.Substring(0, length)) > 0 ? 1 : 0;
            }
            Harness.True(answered > 5000, answered + " have an answer");
        }

        public static void CharactersAtRandomAreAnswered()
        {
            CompletionLines.Start();
            List<string> lines = CompletionLines.All;
            Random random = new Random(7);
            int answered = 0;
            for (int i = 0; i < 8000; ++i)
            {
                StringBuilder line = new StringBuilder(lines[random.Next(lines.Count)]);
                for (int count = random.Next(1, 4); count > 0; --count)
                    line.Insert(random.Next(line.Length + 1), c_signs[random.Next(c_signs.Length)]);
                if (random.Next(3) == 0)
                    line.Append(lines[random.Next(lines.Count)]);
                answered += Ask(line.ToString(0, random.Next(line.Length + 1))) > 0 ? 1 : 0;
            }
            Harness.True(answered > 500, answered + " have an answer");
        }

        public static void TheDeepestLineIsAnswered()
        {
            CompletionLines.Start();
            foreach (string part in new string[] { "(", "t.Raise(", "t.History[", "{ Next = ", "new int[] {", "System.Collections.Generic.List<", "-", "(int)", "t.", "1 | ", "[" })
            {
                StringBuilder line = new StringBuilder("invoke ");
                while (line.Length < 20000)
                    line.Append(part);
                Ask(line.ToString());
                Ask(line + "t.");
                Ask("create x = OrvTest.Completing.Quiet " + line.ToString().Substring(7));
            }
        }

        public static void TheQuestionItselfNeverFails()
        {
            CompletionLines.Start();
            foreach (string line in new string[] { "", " ", "get", "get t.", "get \\\"", "get nothing.", "\\0", "get [", "set using ", "x y z" })
            {
                Harness.Equal(10, Bench.Do("invoke", "OrvWorkBench.Look.Complete(\"" + line + "\")"), line);
                Bench.Printed();
            }
            Bench.Expect("invoke", "OrvWorkBench.Look.Complete(null)", 10, "");
            Bench.Expect("invoke", "OrvWorkBench.Look.Example(null)", 10, "");
            Bench.Expect("invoke", "OrvWorkBench.Look.Value(null)", 10, "   (expected a value but found the end)");
        }
    }
}
