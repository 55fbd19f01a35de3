using System;
using System.Collections.Generic;
using System.Runtime.CompilerServices;

namespace OrvWorkBench
{
    // What the user has made: instances and results by name, and the last result.
    internal sealed class Instances
    {
        private readonly Dictionary<string, Value> m_values = new Dictionary<string, Value>();
        private readonly CutValues m_cut = new CutValues();
        private Value m_last;

        public bool Has(string name)
        {
            return m_values.ContainsKey(name);
        }

        public Value Get(string name)
        {
            return m_values[name];
        }

        public void Add(string name, Value value)
        {
            m_values.Add(name, Own(value));
        }

        // Adds or overwrites.
        public void Replace(string name, Value value)
        {
            m_values[name] = Own(value);
        }

        // Returns false when there is none.
        public bool Remove(string name)
        {
            return m_values.Remove(name);
        }

        // Sorted.
        public IList<string> Names
        {
            get
            {
                List<string> names = new List<string>(m_values.Keys);
                names.Sort(string.CompareOrdinal);
                return names;
            }
        }

        public int Count
        {
            get { return m_values.Count; }
        }

        public void Clear()
        {
            m_values.Clear();
            m_last = null;
            m_cut.Clear();
        }

        public bool HasLast
        {
            get { return m_last != null; }
        }

        // Throws CommandError when nothing has returned a value yet.
        public Value LastResult(int position)
        {
            if (m_last == null)
                throw new CommandError(position, "there is no last result yet");
            return m_last;
        }

        public void SetLastResult(Value value)
        {
            m_last = Own(value);
        }

        // A name for a value that is shown and has none; null when all of it is shown. Any thread may call this.
        public string NameFor(ShownValue shown, object data, Type declared)
        {
            return shown.Omitted == Omission.Nothing ? null : m_cut.Keep(Own(Value.Of(data, declared)));
        }

        // The value that got this name. Throws CommandError when it is not kept.
        public Value CutValue(string name, int position)
        {
            return m_cut.Get(name, position);
        }

        // Copies a structure, so that two names never share one.
        private static Value Own(Value value)
        {
            if (value.Data == null || !value.Type.IsValueType)
                return value;
            return Value.As(RuntimeHelpers.GetObjectValue(value.Data), value.Type);
        }

        // A hint to add to the message that a name is unknown: the name in another case, else typeHint.
        public string Suggest(string name, string typeHint)
        {
            foreach (string known in m_values.Keys)
            {
                if (string.Equals(known, name, StringComparison.OrdinalIgnoreCase))
                    return "; did you mean " + known + "?";
            }
            return typeHint;
        }
    }
}
