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
        // Where in the line the dotted name begins that is being typed.
        private int m_start;

        public KnownTypes(Surroundings at, CompletionList list)
        {
            m_at = at;
            m_list = list;
        }

        public int Start
        {
            set { m_start = value; }
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
                Add(CompletionGroup.Type, type, filter);
            foreach (string known in TypeTable.Of(only).Namespaces)
                AddNamespace(CompletionGroup.Namespace, space, known, ".");
        }

        // The next parts of the namespaces below that one.
        public void AddNamespaces(string space, string tail)
        {
            foreach (Assembly assembly in m_at.Assemblies.InSearchOrder())
            {
                bool isLoaded = space.Length == 0 && m_at.Assemblies.Loaded.Contains(assembly);
                foreach (string known in TypeTable.Of(assembly).Namespaces)
                    AddNamespace(isLoaded ? CompletionGroup.LoadedNamespace : CompletionGroup.Namespace, space, known, tail);
            }
            foreach (string known in FrameworkLibraries.Namespaces)
            {
                string whole = PartOf(space, known);
                if (whole != null && !m_list.Has(whole) && FrameworkLibraries.HasNamespace(whole))
                    AddNamespace(CompletionGroup.Namespace, space, known, tail);
            }
        }

        // What goes by a short name. One that two namespaces have goes by none.
        public void AddUsed(Filter filter)
        {
            foreach (string alias in m_at.Usings.Aliases)
            {
                Type type = m_at.Usings.Alias(alias);
                if (filter(type) && !m_at.Instances.Has(alias))
                    m_list.AddName(CompletionGroup.LoadedType, alias, "", Kind(type), TypeNames.Show(type));
            }
            Dictionary<string, ListedType> byName = new Dictionary<string, ListedType>();
            foreach (string space in m_at.Usings.Namespaces)
            {
                foreach (ListedType type in TypesIn(space))
                    AddUsed(byName, type);
            }
            foreach (string name in byName.Keys)
            {
                ListedType type = byName[name];
                if (type != null && m_at.Usings.Alias(type.Name) == null && !IsHidden(type))
                    Add(CompletionGroup.LoadedType, type, filter);
            }
        }

        // Null stands for a name that two types have.
        private static void AddUsed(Dictionary<string, ListedType> byName, ListedType type)
        {
            ListedType other;
            if (!byName.TryGetValue(type.Type.Name, out other))
                byName.Add(type.Type.Name, type);
            else if (other != null && other.Type.Namespace != type.Type.Namespace)
                byName[type.Type.Name] = null;
        }

        public void AddNested(Type outer, Filter filter)
        {
            foreach (Type nested in ReachableMembers.NestedIn(outer))
                Add(CompletionGroup.Type, new ListedType(nested), filter);
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
            foreach (ListedType type in TypesIn(space))
            {
                if (!m_list.Fits(type.Name) || (space.Length == 0 && IsHidden(type)))
                    continue;
                bool isLoaded = space.Length == 0 && m_at.Assemblies.Loaded.Contains(type.Type.Assembly);
                if (IsTwice(type.Type))
                    AddWithAssembly(type, filter);
                else
                    Add(isLoaded ? CompletionGroup.LoadedType : CompletionGroup.Type, type, filter);
            }
        }

        // Type arguments tell a type from an instance.
        private bool IsHidden(ListedType type)
        {
            return !type.IsGeneric && m_at.Instances.Has(type.Name);
        }

        private IEnumerable<ListedType> TypesIn(string space)
        {
            foreach (Assembly assembly in m_at.Assemblies.InSearchOrder())
            {
                foreach (ListedType type in TypeTable.Of(assembly).TypesIn(space))
                    yield return type;
            }
            // This may take a library into the process, as the command itself would.
            foreach (Assembly library in FrameworkLibraries.For(space + "."))
            {
                foreach (ListedType type in TypeTable.Of(library).TypesIn(space))
                    yield return type;
            }
        }

        // Whether two loaded assemblies have a type of that name: a command must say which.
        private bool IsTwice(Type type)
        {
            if (m_at.Assemblies.Loaded.Count < 2 || !m_at.Assemblies.Loaded.Contains(type.Assembly))
                return false;
            foreach (Assembly assembly in m_at.Assemblies.Loaded)
            {
                if (assembly != type.Assembly && TypeTable.Of(assembly).Has(type))
                    return true;
            }
            return false;
        }

        private void AddWithAssembly(ListedType type, Filter filter)
        {
            if (!filter(type.Type))
                return;
            string assembly = type.Type.Assembly.GetName().Name;
            string name = (string.IsNullOrEmpty(type.Type.Namespace) ? "" : type.Type.Namespace + ".") + type.Name;
            string text = "[" + WrittenName.OfAssembly(assembly) + "]" + name + (type.IsGeneric ? "<" : "");
            m_list.AddInstead(CompletionGroup.Type, m_start, type.Name, text, Kind(type.Type), "[" + assembly + "]" + type.Shown);
        }

        private void Add(CompletionGroup group, ListedType type, Filter filter)
        {
            if (m_list.Fits(type.Name) && filter(type.Type))
                m_list.AddName(group, type.Name, type.IsGeneric ? "<" : "", Kind(type.Type), type.Shown);
        }

        private void AddNamespace(CompletionGroup group, string space, string known, string tail)
        {
            string whole = PartOf(space, known);
            if (whole != null && !m_list.Has(whole))
                m_list.AddNamespace(group, whole.Substring(space.Length == 0 ? 0 : space.Length + 1), tail, whole);
        }

        // The namespace to the end of its first part behind the space; null when it does not go on there with what is
        // typed. An instance hides a namespace of its name.
        private string PartOf(string space, string known)
        {
            int start = space.Length == 0 ? 0 : space.Length + 1;
            if (known.Length <= start || !m_list.MayFit(known, start) ||
                (start > 0 && !known.StartsWith(space + ".", StringComparison.Ordinal)))
                return null;
            int dot = known.IndexOf('.', start);
            string whole = dot < 0 ? known : known.Substring(0, dot);
            return start == 0 && m_at.Instances.Has(whole) ? null : whole;
        }
    }
}
