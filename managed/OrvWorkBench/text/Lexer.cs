using System.Collections.Generic;
using System.Globalization;
using System.Text;

namespace OrvWorkBench
{
    // Splits a command text into tokens; the last one stands for the end of the text.
    internal sealed class Lexer
    {
        private const string c_marks = "()[]{}<>,.=+-!~|?:";

        private static readonly Dictionary<string, bool> s_keywords = MakeKeywords();

        private readonly string m_text;
        private readonly List<Token> m_tokens = new List<Token>();
        private int m_at;

        private Lexer(string text)
        {
            m_text = text;
        }

        // Throws CommandError at the first character that starts no token, or at a malformed one.
        public static List<Token> Read(string text)
        {
            Lexer lexer = new Lexer(text);
            while (lexer.ReadOne())
            {
            }
            return lexer.m_tokens;
        }

        private static Dictionary<string, bool> MakeKeywords()
        {
            Dictionary<string, bool> keywords = new Dictionary<string, bool>();
            foreach (string word in new string[] { "new", "null", "true", "false", "typeof", "ref", "out" })
                keywords[word] = true;
            foreach (string word in TypeNames.Keywords)
                keywords[word] = true;
            return keywords;
        }

        public static bool IsKeyword(string word)
        {
            return s_keywords.ContainsKey(word);
        }

        private char Peek(int ahead)
        {
            return m_at + ahead < m_text.Length ? m_text[m_at + ahead] : '\0';
        }

        private bool ReadOne()
        {
            while (m_at < m_text.Length && char.IsWhiteSpace(m_text[m_at]))
                ++m_at;
            int start = m_at;
            if (m_at >= m_text.Length)
            {
                Add(TokenKind.End, start, "", null);
                return false;
            }
            char c = m_text[m_at];
            if (IsNameStart(c) || (c == '@' && IsNameStart(Peek(1))))
                ReadName();
            else if (IsDigit(c) || (c == '.' && IsDigit(Peek(1))))
                ReadNumber();
            else if (c == '"')
                ReadString();
            else if (c == '@' && Peek(1) == '"')
                ReadVerbatimString();
            else if (c == '\'')
                ReadCharacter();
            else if ((c == '+' || c == '-') && (Peek(1) == '=' || Peek(1) == c))
                AddMark(2); // no command takes "++" and "--", which two signs are not
            else if (c == '$')
                ReadResult();
            else if (c_marks.IndexOf(c) >= 0)
                AddMark(1);
            else
                throw new CommandError(m_at, "unexpected character '" + Printable.Escape(c.ToString()) + "'");
            return true;
        }

        private void Add(TokenKind kind, int start, string text, object value)
        {
            Token token = new Token();
            token.Kind = kind;
            token.Position = start;
            token.Text = text;
            token.Value = value;
            m_tokens.Add(token);
        }

        private void AddLiteral(int start, object value)
        {
            Add(TokenKind.Literal, start, m_text.Substring(start, m_at - start), value);
        }

        private void AddMark(int length)
        {
            Add(TokenKind.Mark, m_at, m_text.Substring(m_at, length), null);
            m_at += length;
        }

        private static bool IsDigit(char c)
        {
            return c >= '0' && c <= '9';
        }

        private static bool IsNameStart(char c)
        {
            return char.IsLetter(c) || c == '_' || char.GetUnicodeCategory(c) == UnicodeCategory.LetterNumber;
        }

        private static bool IsNamePart(char c)
        {
            if (char.IsLetterOrDigit(c) || c == '_')
                return true;
            UnicodeCategory category = char.GetUnicodeCategory(c);
            return category == UnicodeCategory.NonSpacingMark || category == UnicodeCategory.SpacingCombiningMark ||
                   category == UnicodeCategory.ConnectorPunctuation || category == UnicodeCategory.LetterNumber;
        }

        // An '@' before a word makes it a name even if it is a keyword.
        private void ReadName()
        {
            int start = m_at;
            bool escaped = m_text[m_at] == '@';
            if (escaped)
                ++m_at;
            int first = m_at;
            while (m_at < m_text.Length && IsNamePart(m_text[m_at]))
                ++m_at;
            string word = m_text.Substring(first, m_at - first);
            bool keyword = !escaped && s_keywords.ContainsKey(word);
            Add(keyword ? TokenKind.Keyword : TokenKind.Name, start, word, null);
        }

        // "$", or with the number of a value that was cut off "$12".
        private void ReadResult()
        {
            int length = 1;
            while (IsDigit(Peek(length)))
                ++length;
            AddMark(length);
        }

        private void ReadNumber()
        {
            int start = m_at;
            if (Peek(0) == '0' && (Peek(1) == 'x' || Peek(1) == 'X'))
            {
                ReadHexadecimal(start);
                return;
            }
            SkipDigits();
            bool real = false;
            if (Peek(0) == '.' && IsDigit(Peek(1)))
            {
                real = true;
                ++m_at;
                SkipDigits();
            }
            if (Peek(0) == 'e' || Peek(0) == 'E')
            {
                int sign = Peek(1) == '+' || Peek(1) == '-' ? 1 : 0;
                if (!IsDigit(Peek(1 + sign)))
                    throw new CommandError(m_at, "an exponent has no digits");
                real = true;
                m_at += 1 + sign;
                SkipDigits();
            }
            string digits = m_text.Substring(start, m_at - start);
            string suffix = ReadSuffix();
            object value = suffix == "f" || suffix == "d" || suffix == "m" || (real && suffix == "")
                               ? Real(start, digits, suffix)
                               : real ? null : Whole(start, digits, NumberStyles.None, suffix);
            if (value == null)
                throw new CommandError(start, "'" + digits + suffix + "' is not a number: a fraction cannot have the suffix '" +
                                                  suffix + "'");
            AddLiteral(start, value);
        }

        private void ReadHexadecimal(int start)
        {
            m_at += 2;
            int first = m_at;
            while (m_at < m_text.Length && IsHexadecimal(m_text[m_at]))
                ++m_at;
            if (m_at == first)
                throw new CommandError(start, "a hexadecimal number has no digits");
            string digits = m_text.Substring(first, m_at - first);
            AddLiteral(start, Whole(start, digits, NumberStyles.AllowHexSpecifier, ReadSuffix()));
        }

        private static bool IsHexadecimal(char c)
        {
            return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        }

        private void SkipDigits()
        {
            while (IsDigit(Peek(0)))
                ++m_at;
        }

        // The letters right after a number, in lower case: one of "", u, l, ul, f, d, m.
        private string ReadSuffix()
        {
            int start = m_at;
            while (m_at < m_text.Length && IsNamePart(m_text[m_at]))
                ++m_at;
            string suffix = m_text.Substring(start, m_at - start).ToLowerInvariant();
            switch (suffix)
            {
            case "lu":
                return "ul";
            case "":
            case "u":
            case "l":
            case "ul":
            case "f":
            case "d":
            case "m":
                return suffix;
            default:
                throw new CommandError(start, "unknown number suffix '" + suffix + "'; known are u, l, ul, f, d, m");
            }
        }

        // The first of int, uint, long, ulong that the suffix allows and that holds the number.
        private static object Whole(int start, string digits, NumberStyles style, string suffix)
        {
            ulong number;
            if (!ulong.TryParse(digits, style, CultureInfo.InvariantCulture, out number))
                throw new CommandError(start, "the number is too large for any integer type");
            if (suffix == "" && number <= int.MaxValue)
                return (int)number;
            if ((suffix == "" || suffix == "u") && number <= uint.MaxValue)
                return (uint)number;
            if ((suffix == "" || suffix == "l") && number <= long.MaxValue)
                return (long)number;
            return number;
        }

        private static object Real(int start, string digits, string suffix)
        {
            const NumberStyles style = NumberStyles.AllowDecimalPoint | NumberStyles.AllowExponent;
            CultureInfo culture = CultureInfo.InvariantCulture;
            if (suffix == "m")
            {
                decimal exact;
                if (decimal.TryParse(digits, style, culture, out exact))
                    return exact;
                throw new CommandError(start, "the number is too large for decimal");
            }
            double number;
            if (!double.TryParse(digits, style, culture, out number) || double.IsInfinity(number))
                throw new CommandError(start, "the number is too large for double");
            if (suffix != "f")
                return number;
            float single;
            if (!float.TryParse(digits, style, culture, out single) || float.IsInfinity(single))
                throw new CommandError(start, "the number is too large for float");
            return single;
        }

        private void ReadString()
        {
            int start = m_at++;
            StringBuilder text = new StringBuilder();
            while (m_at >= m_text.Length || m_text[m_at] != '"')
            {
                if (m_at >= m_text.Length || IsLineBreak(m_text[m_at]))
                    throw new CommandError(start, "a string is not closed");
                ReadUnit(text);
            }
            ++m_at;
            AddLiteral(start, text.ToString());
        }

        // What ends a line in C#; of the literals, only an @"..." may go over several lines.
        private static bool IsLineBreak(char c)
        {
            return c == '\r' || c == '\n' || c == '\u0085' || c == '\u2028' || c == '\u2029';
        }

        private void ReadVerbatimString()
        {
            int start = m_at;
            m_at += 2;
            StringBuilder text = new StringBuilder();
            for (;;)
            {
                if (m_at >= m_text.Length)
                    throw new CommandError(start, "a string is not closed");
                char c = m_text[m_at++];
                if (c != '"')
                    text.Append(c);
                else if (Peek(0) == '"')
                {
                    text.Append('"');
                    ++m_at;
                }
                else
                    break;
            }
            AddLiteral(start, text.ToString());
        }

        private void ReadCharacter()
        {
            int start = m_at++;
            if (Peek(0) == '\'')
                throw new CommandError(start, "a character is empty");
            if (m_at >= m_text.Length || IsLineBreak(m_text[m_at]))
                throw new CommandError(start, "a character is not closed");
            StringBuilder text = new StringBuilder();
            ReadUnit(text);
            if (Peek(0) != '\'')
                throw new CommandError(start, m_at >= m_text.Length ? "a character is not closed"
                                                                    : "more than one character between the quotes");
            if (text.Length != 1)
                throw new CommandError(start, "the character needs two UTF-16 units; use a string");
            ++m_at;
            AddLiteral(start, text[0]);
        }

        // Reads one character, or one escape, of a string or character literal.
        private void ReadUnit(StringBuilder text)
        {
            char c = m_text[m_at];
            if (c != '\\')
            {
                text.Append(c);
                ++m_at;
                return;
            }
            int start = m_at++;
            if (m_at >= m_text.Length)
                throw new CommandError(start, "an escape is not complete");
            c = m_text[m_at++];
            const string letters = "'\"\\0abfnrtv";
            int plain = letters.IndexOf(c);
            if (plain >= 0)
                text.Append("'\"\\\0\a\b\f\n\r\t\v"[plain]);
            else if (c == 'x')
                text.Append((char)HexadecimalUnit(start, 1, 4));
            else if (c == 'u')
                text.Append((char)HexadecimalUnit(start, 4, 4));
            else if (c == 'U')
                text.Append(CodePoint(start));
            else
                throw new CommandError(start, "unknown escape '\\" + c + "'; for a path use \\\\ or @\"...\"");
        }

        private string CodePoint(int start)
        {
            int value = HexadecimalUnit(start, 8, 8);
            if (value < 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
                throw new CommandError(start, "the escape is no Unicode character");
            return char.ConvertFromUtf32(value);
        }

        private int HexadecimalUnit(int start, int least, int most)
        {
            int first = m_at;
            while (m_at - first < most && m_at < m_text.Length && IsHexadecimal(m_text[m_at]))
                ++m_at;
            if (m_at - first < least)
                throw new CommandError(start, "the escape needs " + least + " hexadecimal digits");
            return int.Parse(m_text.Substring(first, m_at - first), NumberStyles.AllowHexSpecifier,
                             CultureInfo.InvariantCulture);
        }
    }
}
