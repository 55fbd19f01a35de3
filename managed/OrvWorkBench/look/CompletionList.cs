using System;
using System.Collections.Generic;
using System.Globalization;

namespace OrvWorkBench
{
    // The order in which entries are listed.
    internal enum CompletionGroup
    {
        Hint,
        Instance,
        Member,
        // Where names begin: of the assemblies that the user has loaded.
        LoadedType,
        LoadedNamespace,
        Type,
        Namespace,
        Word
    }

    // One way to go on.
    internal sealed class CompletionEntry
    {
        public CompletionGroup Group;
        // Where in the line its text begins, which replaces the rest of the line.
        public int At;
        // Empty for a mere hint.
        public string Text;
        public string Kind;
        // What a list shows of it.
        public string Shown;
    }

    // The ways to go on from the cursor that fit what is typed there.
    internal sealed class CompletionList
    {
        private const int c_greatest = 1000;
        private const string c_namespace = "namespace";

        private readonly List<CompletionEntry> m_entries = new List<CompletionEntry>();
        private readonly Dictionary<string, bool> m_known = new Dictionary<string, bool>();
        private readonly string m_word;
        private readonly bool m_isEscaped;
        private readonly int m_at;
        private readonly int m_end;

        // word is what is typed already, from the index at to the end of the line.
        public CompletionList(string word, bool isEscaped, int at, int end)
        {
            m_word = word;
            m_isEscaped = isEscaped;
            m_at = at;
            m_end = end;
        }

        // Where in the line the last name begins.
        public int At
        {
            get { return m_at; }
        }

        // Whether nothing is typed yet of what is to come.
        public bool IsAtStart
        {
            get { return m_word.Length == 0 && !m_isEscaped; }
        }

        public bool Fits(string name)
        {
            return name.StartsWith(m_word, StringComparison.OrdinalIgnoreCase);
        }

        // Whether the part of the text from there on begins with what is typed.
        public bool MayFit(string text, int start)
        {
            return string.Compare(text, start, m_word, 0, m_word.Length, StringComparison.OrdinalIgnoreCase) == 0;
        }

        // Whether there is a namespace of that whole name in the list.
        public bool Has(string space)
        {
            return m_known.ContainsKey(KeyOf(c_namespace, space));
        }

        // A namespace, by its last part.
        public void AddNamespace(CompletionGroup group, string part, string tail, string whole)
        {
            AddName(group, part, tail, c_namespace, whole);
        }

        // A name, and what follows it at once, such as "(".
        public void AddName(CompletionGroup group, string name, string tail, string kind, string shown)
        {
            string written = Fits(name) ? WrittenName.Of(name) : null;
            if (written != null)
                Add(group, m_at, written + tail, kind, shown);
        }

        // What replaces more of the line than the last name: all from that index on.
        public void AddInstead(CompletionGroup group, int at, string name, string text, string kind, string shown)
        {
            if (Fits(name))
                Add(group, at, text, kind, shown);
        }

        // A dotted name of which more may be typed than the last part.
        public void AddWhole(CompletionGroup group, string typed, int at, string name, string kind, string shown)
        {
            if (name.StartsWith(typed, StringComparison.OrdinalIgnoreCase))
                Add(group, at, name, kind, shown);
        }

        // A whole name with its dots.
        public void AddDotted(CompletionGroup group, string name, string tail, string kind, string shown)
        {
            if (!Fits(name) || m_isEscaped)
                return;
            string[] parts = name.Split('.');
            for (int i = 0; i < parts.Length; ++i)
            {
                parts[i] = WrittenName.Of(parts[i]);
                if (parts[i] == null)
                    return;
            }
            Add(group, m_at, string.Join(".", parts) + tail, kind, shown);
        }

        // A word of the grammar.
        public void AddWord(string word)
        {
            if (Fits(word) && !m_isEscaped)
                Add(CompletionGroup.Word, m_at, word, "word", word);
        }

        // "$"
        public void AddLast(string shown)
        {
            if (IsAtStart)
                Add(CompletionGroup.Instance, m_at, "$", "instance", shown);
        }

        // What may be meant; it puts nothing into the line.
        public void AddHint(string kind, string shown)
        {
            Add(CompletionGroup.Hint, m_end, "", kind, shown);
        }

        // Sorted.
        public IList<CompletionEntry> Entries
        {
            get
            {
                m_entries.Sort(Compare);
                return m_entries;
            }
        }

        public void Print()
        {
            Listing list = new Listing();
            foreach (CompletionEntry entry in Entries)
            {
                if (list.Count == c_greatest)
                    break;
                list.Add(entry.Text + (entry.Text.Length > 0 ? "  " : "") + "// " + entry.Shown,
                         "at", entry.At.ToString(CultureInfo.InvariantCulture), "text", entry.Text, "kind", entry.Kind, "shown", entry.Shown);
            }
            if (m_entries.Count > c_greatest)
                Output.Line("  " + (m_entries.Count - c_greatest).ToString(CultureInfo.InvariantCulture) + " more fit");
        }

        private void Add(CompletionGroup group, int at, string text, string kind, string shown)
        {
            string key = KeyOf(kind == c_namespace ? kind : text, shown);
            if (m_known.ContainsKey(key))
                return;
            m_known.Add(key, true);
            CompletionEntry entry = new CompletionEntry();
            entry.Group = group;
            entry.At = at;
            entry.Text = text;
            entry.Kind = kind;
            entry.Shown = shown;
            m_entries.Add(entry);
        }

        private static string KeyOf(string text, string shown)
        {
            return text + "\n" + shown;
        }

        private static int Compare(CompletionEntry one, CompletionEntry other)
        {
            if (one.Group != other.Group)
                return one.Group < other.Group ? -1 : 1;
            int order = string.Compare(one.Text, other.Text, StringComparison.OrdinalIgnoreCase);
            if (order == 0)
                order = string.CompareOrdinal(one.Text, other.Text);
            return order != 0 ? order : string.CompareOrdinal(one.Shown, other.Shown);
        }
    }
}
