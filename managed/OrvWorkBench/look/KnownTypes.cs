using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The namespaces and types that a command may name, for the completion of their names.
    internal sealed class KnownTypes
    {
        private readonly Surroundings m_at;
        private readonly CompletionList m_list;

        public KnownTypes(Surroundings at, CompletionList list)
        {
            m_at = at;
            m_list = list;
        }

        public delegate bool Filter(Type type);

        // Types and namespaces in a namespace; the empty name stands for what is in none.
        public void AddIn(string space, Filter filter)
        {
            foreach (Assembly assembly in AssembliesFor(space))
            {
                foreach (Type type in TypeTable.Of(assembly).TypesIn(space))
                    Add(type, filter);
            }
            AddNamespaces(space, ".");
        }

        // The next parts of the namespaces below that one.
        public void AddNamespaces(string space, string tail)
        {
            foreach (Assembly assembly in m_at.Assemblies.InSearchOrder())
            {
                foreach (string known in TypeTable.Of(assembly).Namespaces)
                    AddNamespace(space, known, tail);
            }
            foreach (string known in FrameworkLibraries.Namespaces)
                AddNamespace(space, known, tail);
        }

        // What goes by a short name.
        public void AddUsed(Filter filter)
        {
            foreach (string alias in m_at.Usings.Aliases)
            {
                Type type = m_at.Usings.Alias(alias);
                if (filter(type))
                    m_list.AddName(CompletionGroup.Type, alias, "", Kind(type), TypeNames.Show(type));
            }
            foreach (string space in m_at.Usings.Namespaces)
            {
                foreach (Assembly assembly in AssembliesFor(space))
                {
                    foreach (Type type in TypeTable.Of(assembly).TypesIn(space))
                        Add(type, filter);
                }
            }
        }

        public void AddNested(Type outer, Filter filter)
        {
            foreach (Type nested in ReachableMembers.NestedIn(outer))
                Add(nested, filter);
        }

        public bool HasNamespace(string name)
        {
            return m_at.Types.HasNamespace(name);
        }

        // Any type will do.
        public static bool IsAny(Type type)
        {
            return true;
        }

        // What "new" makes, and what has such types in it.
        public static bool IsMade(Type type)
        {
            return !type.IsInterface && !type.IsAbstract ? type.IsValueType || type.GetConstructors(Node.InstanceMembers).Length > 0
                                                         : type.GetNestedTypes(BindingFlags.Public).Length > 0;
        }

        // "class", "struct", "enum", "interface" or "delegate".
        public static string Kind(Type type)
        {
            string kind = MemberTexts.KindOf(type);
            return kind.Substring(kind.LastIndexOf(' ') + 1);
        }

        private IEnumerable<Assembly> AssembliesFor(string space)
        {
            foreach (Assembly assembly in new List<Assembly>(m_at.Assemblies.InSearchOrder()))
                yield return assembly;
            foreach (Assembly library in FrameworkLibraries.For(space + ".?"))
                yield return library;
        }

        private void Add(Type type, Filter filter)
        {
            string name = type.Name;
            int tick = name.IndexOf('`');
            string bare = tick < 0 ? name : name.Substring(0, tick);
            if (m_list.Fits(bare) && filter(type))
                m_list.AddName(CompletionGroup.Type, bare, tick < 0 ? "" : "<", Kind(type), TypeNames.Show(type));
        }

        private void AddNamespace(string space, string known, string tail)
        {
            int start = space.Length == 0 ? 0 : space.Length + 1;
            if (known.Length <= start || (start > 0 && !known.StartsWith(space + ".", StringComparison.Ordinal)))
                return;
            int dot = known.IndexOf('.', start);
            string part = dot < 0 ? known.Substring(start) : known.Substring(start, dot - start);
            m_list.AddName(CompletionGroup.Namespace, part, tail, "namespace", known.Substring(0, start) + part);
        }
    }
}
