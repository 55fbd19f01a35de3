using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // The namespaces whose types go by their short names, and short names for single types.
    internal sealed class Usings
    {
        private readonly List<string> m_namespaces = new List<string>();
        private readonly Dictionary<string, Type> m_aliases = new Dictionary<string, Type>();

        // In the order in which they were given.
        public IList<string> Namespaces
        {
            get { return m_namespaces; }
        }

        public IEnumerable<string> Aliases
        {
            get { return m_aliases.Keys; }
        }

        // Null when the name stands for no type.
        public Type Alias(string name)
        {
            Type type;
            return m_aliases.TryGetValue(name, out type) ? type : null;
        }

        public void Add(string name)
        {
            if (!m_namespaces.Contains(name))
                m_namespaces.Add(name);
        }

        public void Add(string alias, Type type)
        {
            m_aliases[alias] = type;
        }

        // A namespace or an alias. Returns false when it was not there.
        public bool Remove(string name)
        {
            return m_namespaces.Remove(name) || m_aliases.Remove(name);
        }

        public void Clear()
        {
            m_namespaces.Clear();
            m_aliases.Clear();
        }
    }
}
