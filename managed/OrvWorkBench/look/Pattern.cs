using System;

namespace OrvWorkBench
{
    // What a user looks for among names: * stands for any characters and ? for one; without them a part of the name will
    // do. Upper and lower case are the same.
    internal sealed class Pattern
    {
        private readonly string m_text;

        // An empty text matches every name.
        public Pattern(string text)
        {
            string wanted = (text ?? "").Trim().ToLowerInvariant();
            m_text = wanted.IndexOfAny(new char[] { '*', '?' }) >= 0 ? wanted : "*" + wanted + "*";
        }

        public bool Matches(string name)
        {
            string lower = name.ToLowerInvariant();
            int at = 0;
            int wanted = 0;
            int star = -1;
            int starAt = 0;
            while (at < lower.Length)
            {
                if (wanted < m_text.Length && m_text[wanted] == '*')
                {
                    star = wanted++;
                    starAt = at;
                }
                else if (wanted < m_text.Length && (m_text[wanted] == '?' || m_text[wanted] == lower[at]))
                {
                    ++wanted;
                    ++at;
                }
                else if (star >= 0)
                {
                    // The star takes one character more.
                    wanted = star + 1;
                    at = ++starAt;
                }
                else
                    return false;
            }
            while (wanted < m_text.Length && m_text[wanted] == '*')
                ++wanted;
            return wanted == m_text.Length;
        }
    }
}
