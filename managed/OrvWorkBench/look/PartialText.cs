using System.Collections.Generic;

namespace OrvWorkBench
{
    // A command text up to the cursor: tokens with their brackets matched, and the name that is being typed.
    internal sealed class PartialText
    {
        private readonly string m_text;
        private readonly List<Token> m_tokens;
        // For each bracket the other one of the pair, -1 for one that is still open.
        private readonly int[] m_partners;
        // The innermost bracket that each token stands in, -1 for none.
        private readonly int[] m_parents;
        private int m_innermost = -1;

        // What is typed of the name at the cursor; empty when none is begun. It is none of the tokens.
        public readonly string Word = "";
        public readonly int WordAt;
        // The name begins with '@'.
        public readonly bool IsEscaped;

        private PartialText(string text, List<Token> tokens)
        {
            m_text = text;
            m_tokens = tokens;
            m_tokens.RemoveAt(m_tokens.Count - 1);
            WordAt = text.Length;
            if (m_tokens.Count > 0 && IsTyped(m_tokens[m_tokens.Count - 1]))
            {
                Token word = m_tokens[m_tokens.Count - 1];
                m_tokens.RemoveAt(m_tokens.Count - 1);
                Word = word.Text;
                WordAt = word.Position;
                IsEscaped = text[WordAt] == '@';
            }
            m_partners = new int[m_tokens.Count];
            m_parents = new int[m_tokens.Count];
        }

        // Null where nothing can be completed: in a string, behind what is no text of a command.
        public static PartialText Read(string text)
        {
            List<Token> tokens;
            try
            {
                tokens = Lexer.Read(text);
            }
            catch (CommandError)
            {
                return null;
            }
            PartialText partial = new PartialText(text, tokens);
            return partial.MatchBrackets() ? partial : null;
        }

        public int Count
        {
            get { return m_tokens.Count; }
        }

        public Token this[int index]
        {
            get { return m_tokens[index]; }
        }

        // The last bracket that is open at the cursor; -1 for none.
        public int Innermost
        {
            get { return m_innermost; }
        }

        public int PartnerOf(int bracket)
        {
            return m_partners[bracket];
        }

        // The innermost bracket that the token stands in; of a bracket the one around it. -1 for none.
        public int ParentOf(int index)
        {
            return m_parents[index];
        }

        // The text from one token to the end of another.
        public string TextOf(int first, int last)
        {
            int end = last + 1 < m_tokens.Count ? m_tokens[last + 1].Position : WordAt;
            return m_text.Substring(m_tokens[first].Position, end - m_tokens[first].Position);
        }

        // How many commas stand between an open bracket and the cursor, in no other bracket.
        public int CommasSince(int bracket)
        {
            int commas = 0;
            for (int i = bracket + 1; i < m_tokens.Count; ++i)
            {
                if (m_tokens[i].Is(","))
                    ++commas;
                else if (m_partners[i] > i)
                    i = m_partners[i];
            }
            return commas;
        }

        // Whether a value or a type's name may end with that token.
        public bool EndsOperand(int index)
        {
            if (index < 0)
                return false;
            Token token = m_tokens[index];
            if (token.Kind == TokenKind.Name || token.Kind == TokenKind.Literal)
                return true;
            if (token.Kind == TokenKind.Keyword)
                return token.Text != "new" && token.Text != "typeof" && token.Text != "ref" && token.Text != "out";
            return token.Is(")") || token.Is("]") || token.Is("}") || token.Is(">") || token.Is("?") || token.IsResult;
        }

        // Whether the bracket begins a value: a cast, parentheses, an assembly's name, elements.
        public bool IsPrefix(int bracket, int first)
        {
            return bracket <= first || !EndsOperand(bracket - 1);
        }

        // Whether the token ends a cast.
        public bool IsCast(int close, int first)
        {
            int open = m_partners[close];
            return m_tokens[close].Is(")") && open >= first && IsPrefix(open, first) && IsTypeIn(open, close) &&
                   (open == first || !m_tokens[open - 1].Is("typeof"));
        }

        // The first token of the value or name that ends with that token, "new" in front of it included; not before
        // first. -1 when there is none.
        public int StartOf(int last, int first)
        {
            int at = last;
            while (at >= first)
            {
                Token token = m_tokens[at];
                if (token.Is(")") || token.Is("]") || token.Is("}") || token.Is(">"))
                {
                    int open = m_partners[at];
                    if (open < first)
                        return -1;
                    if (IsWhole(open, first))
                        return open > first && (m_tokens[open - 1].Is("typeof") || m_tokens[open - 1].Is("new")) ? open - 1 : open;
                    at = open - 1;
                    continue;
                }
                if (token.Is("?"))
                {
                    --at;
                    continue;
                }
                if (!EndsOperand(at))
                    return -1;
                if (at >= first + 2 && (m_tokens[at - 1].Is(".") || (m_tokens[at - 1].Is("+") && EndsOperand(at - 2))))
                {
                    at -= 2;
                    continue;
                }
                return WithPrefix(at, first);
            }
            return -1;
        }

        // Whether what the bracket begins is no call, index or list behind something else.
        private bool IsWhole(int open, int first)
        {
            if (IsPrefix(open, first))
                return true;
            // "(Type)(value)"
            return m_tokens[open].Is("(") && IsCast(open - 1, first);
        }

        // Whether the parentheses may hold a type and nothing else.
        private bool IsTypeIn(int open, int close)
        {
            for (int i = open + 1; i < close; ++i)
            {
                Token token = m_tokens[i];
                bool isKeyword = token.Kind == TokenKind.Keyword && TypeNames.IsKeyword(token.Text);
                if (!isKeyword && token.Kind != TokenKind.Name && ".+<>[],?".IndexOf(token.Text, System.StringComparison.Ordinal) < 0)
                    return false;
            }
            return close > open + 1;
        }

        // Whether "new" stands there, with nothing but a type's name behind it up to that token.
        public bool IsBareNew(int start, int last)
        {
            if (!m_tokens[start].Is("new"))
                return false;
            for (int i = start + 1; i <= last; ++i)
            {
                bool isOpened = m_tokens[i].Is("(") || m_tokens[i].Is("{") || (m_tokens[i].Is("[") && i > start + 1);
                if (isOpened && m_parents[i] == m_parents[start])
                    return false;
            }
            return true;
        }

        private int WithPrefix(int at, int first)
        {
            if (at > first && m_tokens[at - 1].Is("]") && m_partners[at - 1] >= first && IsPrefix(m_partners[at - 1], first))
                at = m_partners[at - 1];
            return at > first && m_tokens[at - 1].Is("new") ? at - 1 : at;
        }

        private bool IsTyped(Token token)
        {
            return (token.Kind == TokenKind.Name || token.Kind == TokenKind.Keyword) && !char.IsWhiteSpace(m_text[m_text.Length - 1]);
        }

        // False when one is closed that is not open.
        private bool MatchBrackets()
        {
            for (int i = 0; i < m_tokens.Count; ++i)
            {
                string text = m_tokens[i].Kind == TokenKind.Mark ? m_tokens[i].Text : "";
                int closed = text.Length == 1 ? ")]}>".IndexOf(text[0]) : -1;
                m_partners[i] = -1;
                if (closed >= 0)
                {
                    if (m_innermost < 0 || m_tokens[m_innermost].Text[0] != "([{<"[closed])
                        return false;
                    m_partners[i] = m_innermost;
                    m_partners[m_innermost] = i;
                    m_innermost = m_parents[m_innermost];
                }
                m_parents[i] = m_innermost;
                if (text.Length == 1 && "([{<".IndexOf(text[0]) >= 0)
                    m_innermost = i;
            }
            return true;
        }
    }
}
