using System.Collections.Generic;
using OrvWorkBench;

namespace OrvTest
{
    // Says whether a grammar makes a text: for each rule and each token, where the rule's texts that begin there end. Each
    // round finds those that need one rule more in each other, until there are no new ones.
    internal sealed class GrammarReader
    {
        private readonly Dictionary<string, GrammarPart> m_rules;
        private readonly List<Token> m_tokens = new List<Token>();
        private readonly Dictionary<string, List<int>[]> m_ends = new Dictionary<string, List<int>[]>();

        public GrammarReader(Dictionary<string, GrammarPart> rules, string text)
        {
            m_rules = rules;
            foreach (Token token in Lexer.Read(text))
            {
                if (token.Kind != TokenKind.End)
                    m_tokens.Add(token);
            }
            foreach (string rule in rules.Keys)
            {
                m_ends[rule] = new List<int>[m_tokens.Count + 1];
                for (int at = 0; at <= m_tokens.Count; ++at)
                    m_ends[rule][at] = new List<int>();
            }
        }

        public bool Makes(string rule)
        {
            bool isNew = true;
            while (isNew)
            {
                isNew = false;
                foreach (KeyValuePair<string, GrammarPart> one in m_rules)
                {
                    for (int at = m_tokens.Count; at >= 0; --at)
                    {
                        foreach (int end in EndsOf(one.Value, at))
                            isNew |= Add(m_ends[one.Key][at], end);
                    }
                }
            }
            return m_ends[rule][0].Contains(m_tokens.Count);
        }

        private static bool Add(List<int> ends, int end)
        {
            if (ends.Contains(end))
                return false;
            ends.Add(end);
            return true;
        }

        private List<int> EndsOf(GrammarPart part, int at)
        {
            List<int> ends = new List<int>();
            if (part.Word != null)
            {
                if (m_rules.ContainsKey(part.Word) && part.Word != "result")
                    return m_ends[part.Word][at];
                if (at < m_tokens.Count && IsWord(m_tokens[at], part.Word))
                    ends.Add(at + 1);
                return ends;
            }
            if (part.Kind == '|')
            {
                foreach (GrammarPart one in part.Parts)
                    EndsOf(one, at).ForEach(delegate(int end) { Add(ends, end); });
                return ends;
            }
            if (part.Kind == ' ')
                return EndsOfAll(part, at);
            ends.Add(at);
            // As long as the list grows: of an optional part once.
            for (int i = 0; i < (part.Kind == '[' ? 1 : ends.Count); ++i)
                EndsOfAll(part, ends[i]).ForEach(delegate(int end) { Add(ends, end); });
            return ends;
        }

        private List<int> EndsOfAll(GrammarPart part, int at)
        {
            List<int> ends = new List<int>();
            ends.Add(at);
            foreach (GrammarPart one in part.Parts)
            {
                List<int> next = new List<int>();
                foreach (int start in ends)
                    EndsOf(one, start).ForEach(delegate(int end) { Add(next, end); });
                ends = next;
            }
            return ends;
        }

        private static bool IsWord(Token token, string word)
        {
            switch (word)
            {
            case "name":
                return token.Kind == TokenKind.Name;
            case "literal":
                return token.Kind == TokenKind.Literal || token.Is("true") || token.Is("false") || token.Is("null");
            case "string":
                return token.Value is string;
            case "result":
                return token.IsResult;
            default:
                return token.Kind != TokenKind.Literal && "'" + token.Text + "'" == word;
            }
        }
    }
}
