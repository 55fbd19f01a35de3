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
            AddTypes(space, filter);
            AddNamespaces(space, ".");
        }

        // The same of one assembly alone.
        public void AddIn(Assembly only, string space, Filter filter)
        {
            foreach (ListedType type in TypeTable.Of(only).TypesIn(space))
                Add(type, filter);
            foreach (string known in TypeTable.Of(only).Namespaces)
                AddNamespace(space, known, ".", true);
        }

        // The next parts of the namespaces below that one.
        public void AddNamespaces(string space, string tail)
        {
            foreach (Assembly assembly in m_at.Assemblies.InSearchOrder())
            {
                foreach (string known in TypeTable.Of(assembly).Namespaces)
                    AddNamespace(space, known, tail, true);
            }
            foreach (string known in FrameworkLibraries.Namespaces)
                AddNamespace(space, known, tail, false);
        }

        // What goes by a short name. One that two namespaces have goes by none.
        public void AddUsed(Filter filter)
        {
            foreach (string alias in m_at.Usings.Aliases)
            {
                Type type = m_at.Usings.Alias(alias);
                if (filter(type))
                    m_list.AddName(CompletionGroup.Type, alias, "", Kind(type), TypeNames.Show(type));
            }
            foreach (string space in m_at.Usings.Namespaces)
                AddTypes(space, filter);
        }

        public void AddNested(Type outer, Filter filter)
        {
            foreach (Type nested in ReachableMembers.NestedIn(outer))
                Add(new ListedType(nested), filter);
        }

        // Any type will do.
        public static bool IsAny(Type type)
        {
            return true;
        }

        // What "new" makes, and what has types in it.
        public static bool IsMade(Type type)
        {
            bool isMade = !type.IsInterface && !type.IsAbstract && type.IsValueType;
            Guard.Run(delegate() {
                isMade = isMade || (!type.IsAbstract && type.GetConstructors(Node.InstanceMembers).Length > 0) ||
                         type.GetNestedTypes(BindingFlags.Public).Length > 0;
            });
            return isMade;
        }

        // "class", "struct", "enum", "interface" or "delegate".
        public static string Kind(Type type)
        {
            string kind = MemberTexts.KindOf(type);
            return kind.Substring(kind.LastIndexOf(' ') + 1);
        }

        private void AddTypes(string space, Filter filter)
        {
            foreach (Assembly assembly in m_at.Assemblies.InSearchOrder())
                AddTypes(assembly, space, filter);
            // This may take a library into the process, as the command itself would.
            foreach (Assembly library in FrameworkLibraries.For(space + "."))
                AddTypes(library, space, filter);
        }

        private void AddTypes(Assembly assembly, string space, Filter filter)
        {
            foreach (ListedType type in TypeTable.Of(assembly).TypesIn(space))
                Add(type, filter);
        }

        private void Add(ListedType type, Filter filter)
        {
            if (m_list.Fits(type.Name) && filter(type.Type))
                m_list.AddName(CompletionGroup.Type, type.Name, type.IsGeneric ? "<" : "", Kind(type.Type), type.Shown);
        }

        private void AddNamespace(string space, string known, string tail, bool isThere)
        {
            int start = space.Length == 0 ? 0 : space.Length + 1;
            if (known.Length <= start || !m_list.MayFit(known, start) ||
                (start > 0 && !known.StartsWith(space + ".", StringComparison.Ordinal)))
                return;
            int dot = known.IndexOf('.', start);
            string whole = dot < 0 ? known : known.Substring(0, dot);
            if (m_list.Has(whole) || (!isThere && !FrameworkLibraries.HasNamespace(whole)))
                return;
            m_list.AddName(CompletionGroup.Namespace, whole.Substring(start), tail, "namespace", whole);
        }
    }
}
