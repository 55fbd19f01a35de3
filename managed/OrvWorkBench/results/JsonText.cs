using System.Globalization;
using System.Text;

namespace OrvWorkBench
{
    // JSON in one line, written from front to back: each Begin has its End, and inside an object each value its name.
    internal sealed class JsonText
    {
        private readonly StringBuilder m_text = new StringBuilder();
        private bool m_isFirst = true;

        public override string ToString()
        {
            return m_text.ToString();
        }

        public JsonText BeginObject()
        {
            return Begin('{');
        }

        public JsonText EndObject()
        {
            return End('}');
        }

        public JsonText BeginArray()
        {
            return Begin('[');
        }

        public JsonText EndArray()
        {
            return End(']');
        }

        // The name of the value that follows.
        public JsonText Name(string name)
        {
            Separate();
            Quote(name);
            m_text.Append(':');
            m_isFirst = true;
            return this;
        }

        // Null is written as null.
        public JsonText Text(string text)
        {
            Separate();
            if (text == null)
                m_text.Append("null");
            else
                Quote(text);
            return this;
        }

        public JsonText Number(long number)
        {
            Separate();
            m_text.Append(number.ToString(CultureInfo.InvariantCulture));
            return this;
        }

        public JsonText Truth(bool value)
        {
            Separate();
            m_text.Append(value ? "true" : "false");
            return this;
        }

        private JsonText Begin(char bracket)
        {
            Separate();
            m_text.Append(bracket);
            m_isFirst = true;
            return this;
        }

        private JsonText End(char bracket)
        {
            m_text.Append(bracket);
            m_isFirst = false;
            return this;
        }

        private void Separate()
        {
            if (!m_isFirst)
                m_text.Append(',');
            m_isFirst = false;
        }

        // What does not print, and the two line separators that some readers stumble over, by number; half a surrogate
        // pair is left to the encoding, which replaces it.
        private void Quote(string text)
        {
            m_text.Append('"');
            foreach (char c in text)
            {
                if (c == '"' || c == '\\')
                    m_text.Append('\\').Append(c);
                else if (char.IsControl(c) || c == '\u2028' || c == '\u2029')
                    m_text.Append("\\u").Append(((int)c).ToString("x4", CultureInfo.InvariantCulture));
                else
                    m_text.Append(c);
            }
            m_text.Append('"');
        }
    }
}
