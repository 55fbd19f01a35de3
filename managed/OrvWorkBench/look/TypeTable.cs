using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The public types of an assembly by their namespaces. Made once for each assembly.
    internal sealed class TypeTable
    {
        private static readonly Dictionary<Assembly, TypeTable> s_tables = new Dictionary<Assembly, TypeTable>();

        private static readonly List<Type> s_none = new List<Type>();

        private readonly Dictionary<string, List<Type>> m_types = new Dictionary<string, List<Type>>();
        private readonly List<string> m_namespaces = new List<string>();

        private TypeTable(Assembly assembly)
        {
            foreach (Type type in TypeFinder.PublicTypes(assembly))
            {
                if (type.DeclaringType != null)
                    continue;
                List<Type> types;
                string space = type.Namespace ?? "";
                if (!m_types.TryGetValue(space, out types))
                {
                    types = new List<Type>();
                    m_types.Add(space, types);
                    m_namespaces.Add(space);
                }
                types.Add(type);
            }
        }

        public static TypeTable Of(Assembly assembly)
        {
            TypeTable table;
            if (!s_tables.TryGetValue(assembly, out table))
            {
                table = new TypeTable(assembly);
                s_tables.Add(assembly, table);
            }
            return table;
        }

        // Those with types of their own; the empty one for types without.
        public IList<string> Namespaces
        {
            get { return m_namespaces; }
        }

        // The types that are not nested.
        public IList<Type> TypesIn(string space)
        {
            List<Type> types;
            return m_types.TryGetValue(space, out types) ? types : s_none;
        }
    }
}
