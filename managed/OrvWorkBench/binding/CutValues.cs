using System.Collections.Generic;
using System.Globalization;

namespace OrvWorkBench
{
    // Values that were shown cut off and that no name leads to: the last ones, under the names "$1", "$2" and so on. Any
    // thread may call this.
    internal sealed class CutValues
    {
        private const int c_greatestCount = 100;

        private readonly Dictionary<string, Value> m_values = new Dictionary<string, Value>();
        private int m_count;

        // The name.
        public string Keep(Value value)
        {
            lock (m_values)
            {
                string name = Name(++m_count);
                m_values[name] = value;
                m_values.Remove(Name(m_count - c_greatestCount));
                return name;
            }
        }

        // Throws CommandError when it is not there, or no longer.
        public Value Get(string name, int position)
        {
            lock (m_values)
            {
                Value value;
                if (m_values.TryGetValue(name, out value))
                    return value;
            }
            throw new CommandError(position, "there is no '" + name + "'; the last " + c_greatestCount +
                                                 " values that were cut off and have no name are kept");
        }

        public void Clear()
        {
            lock (m_values)
            {
                m_values.Clear();
                m_count = 0;
            }
        }

        private static string Name(int number)
        {
            return "$" + number.ToString(CultureInfo.InvariantCulture);
        }
    }
}
