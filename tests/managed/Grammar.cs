using System;
using System.Collections.Generic;
using System.Text;
using System.Text.RegularExpressions;

namespace OrvTest
{
    internal sealed class GrammarPart
    {
        // A word, the name of a rule or of a terminal; null for what is made of parts.
        public string Word;
        // '|' one of the parts, ' ' all of them, '[' all or nothing, '{' all any number of times.
        public char Kind = ' ';
        public readonly List<GrammarPart> Parts = new List<GrammarPart>();
    }

    // Makes texts at random by a grammar: 'words' stand for themselves, [ ] may be left out, { } stands any number of times,
    // | between alternatives.
    internal sealed class Grammar
    {
        // Deeper than this, what is shortest.
        private const int c_usualDepth = 25;

        private readonly Dictionary<string, GrammarPart> m_rules = new Dictionary<string, GrammarPart>();
        private readonly Dictionary<string, int> m_heights = new Dictionary<string, int>();
        private readonly Random m_random;
        private readonly string[] m_known;
        private StringBuilder m_text;
        private int m_names;

        // Each rule as "name = ...", on a line and on those behind it that are indented.
        public Grammar(List<string> lines, int seed) : this(lines, seed, null)
        {
        }

        // With these names alone.
        public Grammar(List<string> lines, int seed, string[] known)
        {
            m_known = known;
            m_random = new Random(seed);
            foreach (Match rule in Regex.Matches(string.Join("\n", lines.ToArray()), @"^([\w-]+) +=(.*(\n .*)*)", RegexOptions.Multiline))
            {
                Queue<string> tokens = new Queue<string>();
                foreach (Match token in Regex.Matches(rule.Groups[2].Value, @"'[^']+'|[\w-]+|[\[\]{}()|]"))
                    tokens.Enqueue(token.Value);
                m_rules[rule.Groups[1].Value] = ReadAlternatives(tokens);
            }
            // As often as one rule can be needed for another.
            for (int i = 0; i < m_rules.Count; ++i)
            {
                foreach (KeyValuePair<string, GrammarPart> rule in m_rules)
                    m_heights[rule.Key] = HeightOf(rule.Value);
            }
        }

        private static GrammarPart ReadAlternatives(Queue<string> tokens)
        {
            GrammarPart alternatives = new GrammarPart();
            alternatives.Kind = '|';
            do
            {
                GrammarPart sequence = new GrammarPart();
                while (tokens.Count > 0 && "|])}".IndexOf(tokens.Peek(), StringComparison.Ordinal) < 0)
                    sequence.Parts.Add(ReadPart(tokens));
                alternatives.Parts.Add(sequence);
            }
            while (tokens.Count > 0 && tokens.Dequeue() == "|");
            return alternatives;
        }

        private static GrammarPart ReadPart(Queue<string> tokens)
        {
            GrammarPart part = new GrammarPart();
            string token = tokens.Dequeue();
            if (token != "[" && token != "{" && token != "(")
            {
                part.Word = token;
                return part;
            }
            part.Kind = token == "(" ? ' ' : token[0];
            part.Parts.Add(ReadAlternatives(tokens));
            return part;
        }

        // How many rules a text of the part needs at least in each other.
        private int HeightOf(GrammarPart part)
        {
            if (part.Word != null)
                return !m_rules.ContainsKey(part.Word) ? 0 : m_heights.ContainsKey(part.Word) ? m_heights[part.Word] + 1 : 1000;
            if (part.Kind == '[' || part.Kind == '{')
                return 0;
            List<int> heights = part.Parts.ConvertAll<int>(HeightOf);
            heights.Sort();
            return heights.Count == 0 ? 0 : heights[part.Kind == '|' ? 0 : heights.Count - 1];
        }

        // Whether the rule makes the text, blanks apart. Throws CommandError when it consists of no tokens.
        public bool Makes(string rule, string text)
        {
            return new GrammarReader(m_rules, text).Makes(rule);
        }

        public string Text(string rule)
        {
            m_text = new StringBuilder();
            m_names = 0;
            Write(m_rules[rule], 0);
            return m_text.ToString().Trim();
        }

        private void Write(GrammarPart part, int depth)
        {
            if (part.Word != null)
                WriteWord(part.Word, depth);
            else if (part.Kind == '|')
                Write(OneOf(part.Parts, depth), depth + 1);
            else
            {
                int most = depth > c_usualDepth ? 0 : part.Kind == '[' ? 1 : 2;
                for (int count = part.Kind == ' ' ? 1 : m_random.Next(most + 1); count > 0; --count)
                    part.Parts.ForEach(delegate(GrammarPart inner) { Write(inner, depth + 1); });
            }
        }

        private GrammarPart OneOf(List<GrammarPart> alternatives, int depth)
        {
            List<GrammarPart> possible = alternatives;
            if (depth > c_usualDepth)
            {
                List<int> heights = alternatives.ConvertAll<int>(HeightOf);
                heights.Sort();
                possible = alternatives.FindAll(delegate(GrammarPart one) { return HeightOf(one) == heights[0]; });
            }
            return possible[m_random.Next(possible.Count)];
        }

        private void WriteWord(string word, int depth)
        {
            if (m_rules.ContainsKey(word))
            {
                Write(m_rules[word], depth + 1);
                return;
            }
            string text = word[0] == '\'' ? word.Substring(1, word.Length - 2) : Terminal(word);
            // Blanks may stand anywhere but before a result's number; where they must not, and may not, is left to chance.
            bool mayJoin = m_text.Length > 0 && (!IsPartOfWord(text[0]) || !IsPartOfWord(m_text[m_text.Length - 1])) &&
                           text[0] != m_text[m_text.Length - 1] && text[0] != '=';
            if (word != "digits" && !(mayJoin && m_random.Next(2) == 0))
                m_text.Append(' ');
            m_text.Append(text);
        }

        private static bool IsPartOfWord(char c)
        {
            return char.IsLetterOrDigit(c) || "_\"'@$.+-".IndexOf(c) >= 0;
        }

        private string Terminal(string name)
        {
            string[] literals = { "5", "0x1F", "2.5e3f", "'c'", "\"a\\n\"", "@\"C:\\\"", "true", "null", "7ul" };
            switch (name)
            {
            case "literal":
                return literals[m_random.Next(literals.Length)];
            case "string":
                return "\"my lib\"";
            case "digits":
                return "12";
            default:
                // A name of its own each time: members and parameters may not be named twice.
                return m_known == null ? "n" + m_names++ : m_known[m_random.Next(m_known.Length)];
            }
        }
    }
}
