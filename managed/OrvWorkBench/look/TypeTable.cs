using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // A type as a list shows it.
    internal sealed class ListedType
    {
        public readonly Type Type;
        // Without its namespace and its type parameters.
        public readonly string Name;
        private string m_shown;

        public ListedType(Type type)
        {
            int tick = type.Name.IndexOf('`');
            Type = type;
            Name = tick < 0 ? type.Name : type.Name.Substring(0, tick);
        }

        // Whether it has type parameters of its own.
        public bool IsGeneric
        {
            get { return Type.Name.Length > Name.Length; }
        }

        public string Shown
        {
            get { return m_shown ?? (m_shown = TypeNames.Show(Type)); }
        }
    }

    // The public types of an assembly by their namespaces. Made once for each assembly, but for one that is still being
    // made in memory and does not tell.
    internal sealed class TypeTable
    {
        private static readonly Dictionary<Assembly, TypeTable> s_tables = new Dictionary<Assembly, TypeTable>();
        private static readonly List<ListedType> s_none = new List<ListedType>();

        private readonly Dictionary<string, List<ListedType>> m_types = new Dictionary<string, List<ListedType>>();
        private readonly List<string> m_namespaces = new List<string>();

        private TypeTable(Assembly assembly)
        {
            foreach (Type type in TypeFinder.PublicTypes(assembly))
            {
                if (type.DeclaringType == null)
                    Add(new ListedType(type), type.Namespace ?? "");
            }
        }

        public static TypeTable Of(Assembly assembly)
        {
            TypeTable table;
            if (!s_tables.TryGetValue(assembly, out table))
            {
                table = new TypeTable(assembly);
                if (table.m_namespaces.Count > 0)
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
        public IList<ListedType> TypesIn(string space)
        {
            List<ListedType> types;
            return m_types.TryGetValue(space, out types) ? types : s_none;
        }

        // Whether it has a type of the same full name that is not nested.
        public bool Has(Type type)
        {
            foreach (ListedType own in TypesIn(type.Namespace ?? ""))
            {
                if (own.Type.Name == type.Name)
                    return true;
            }
            return false;
        }

        private void Add(ListedType type, string space)
        {
            List<ListedType> types;
            if (!m_types.TryGetValue(space, out types))
            {
                types = new List<ListedType>();
                m_types.Add(space, types);
                m_namespaces.Add(space);
            }
            types.Add(type);
        }
    }
}
