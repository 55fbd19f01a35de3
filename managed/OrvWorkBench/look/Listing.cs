using System.Globalization;

namespace OrvWorkBench
{
    // A list that the user asked for: each entry is printed as a line, and told as an object to a client that asks.
    internal sealed class Listing
    {
        private int m_count;

        public int Count
        {
            get { return m_count; }
        }

        // The fields are pairs of name and text.
        public void Add(string line, params string[] fields)
        {
            ++m_count;
            Output.Line("  " + line);
            if (ResultChannel.Record != null)
                ResultChannel.Record.AddEntry(fields);
        }

        // The last line: "3 public types".
        public void End(string one, string many)
        {
            Output.Line("  " + (m_count == 1 ? "1 " + one : m_count.ToString(CultureInfo.InvariantCulture) + " " + many));
        }
    }
}
