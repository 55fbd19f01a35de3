using System.Globalization;
using System.Text;

namespace OrvWorkBench
{
    // Texts made fit for the console.
    internal static class Printable
    {
        // The text with an escape such as \n or \u0007 for each character that does not print; no quotes around it.
        public static string Escape(string text)
        {
            StringBuilder escaped = new StringBuilder();
            for (int i = 0; i < text.Length; ++i)
            {
                char c = text[i];
                bool pair = char.IsHighSurrogate(c) && i + 1 < text.Length && char.IsLowSurrogate(text[i + 1]);
                int known = "\"\\\0\a\b\f\n\r\t\v".IndexOf(c);
                if (pair)
                    escaped.Append(c).Append(text[++i]);
                else if (known >= 0)
                    escaped.Append('\\').Append("\"\\0abfnrtv"[known]);
                else if (char.IsControl(c) || char.IsSurrogate(c) || c == '\u2028' || c == '\u2029')
                    escaped.Append("\\u").Append(((int)c).ToString("x4", CultureInfo.InvariantCulture));
                else
                    escaped.Append(c);
            }
            return escaped.ToString();
        }

        // Line breaks become blanks.
        public static string OneLine(string text)
        {
            return text.Replace("\r\n", " ").Replace('\n', ' ').Replace('\r', ' ');
        }
    }
}
