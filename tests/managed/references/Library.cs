using System.Collections.Generic;

namespace OrvReferences
{
    // What a class library offers to others: its public types, and their public and protected members by name and
    // signature.
    internal sealed class Library
    {
        private readonly Dictionary<string, bool> m_types = new Dictionary<string, bool>();
        private readonly Dictionary<string, bool> m_members = new Dictionary<string, bool>();

        public Library(MetadataFile file)
        {
            TypeNames names = new TypeNames(file);
            for (int row = 1; row <= file.Rows(TableLayout.TypeDef); ++row)
            {
                const int flags = 0, firstField = 4, firstMethod = 5;
                int visibility = file.Cell(TableLayout.TypeDef, row, flags) & 7;
                if (visibility != 1 && visibility != 2)
                    continue;
                string type = names.OfDefinition(row);
                m_types[type] = true;
                AddMembers(file, names, type, TableLayout.Field, row, firstField, 1);
                AddMembers(file, names, type, TableLayout.MethodDef, row, firstMethod, 3);
            }
        }

        public bool HasType(string name)
        {
            return m_types.ContainsKey(name);
        }

        public bool HasMember(string member)
        {
            return m_members.ContainsKey(member);
        }

        public static string Member(string type, string name, string signature)
        {
            return type + "::" + name + ": " + signature;
        }

        // A type has the rows from its own first one to the next type's first one.
        private void AddMembers(MetadataFile file, TypeNames names, string type, int table, int typeRow, int first, int nameColumn)
        {
            int end = typeRow < file.Rows(TableLayout.TypeDef) ? file.Cell(TableLayout.TypeDef, typeRow + 1, first)
                                                               : file.Rows(table) + 1;
            for (int row = file.Cell(TableLayout.TypeDef, typeRow, first); row < end; ++row)
            {
                // 4 protected, 5 protected or internal, 6 public.
                int access = file.Cell(table, row, nameColumn - 1) & 7;
                if (access >= 4)
                    m_members[Member(type, file.Text(table, row, nameColumn),
                                     SignatureReader.ReadMember(names, file.Blob(table, row, nameColumn + 1)))] = true;
            }
        }
    }
}
