namespace OrvReferences
{
    // The names of the types in a file, nested ones as "Outer/Inner".
    internal sealed class TypeNames
    {
        private const int c_nestedInType = 3;

        private readonly MetadataFile m_file;

        public TypeNames(MetadataFile file)
        {
            m_file = file;
        }

        // By a reference that says in its lowest two bits which table it means, as signatures and base types do.
        public string Of(int definitionOrReference)
        {
            int row = definitionOrReference >> 2;
            switch (definitionOrReference & 3)
            {
            case 0:
                return OfDefinition(row);
            case 1:
                return OfReference(row);
            default:
                return SignatureReader.ReadDefinition(this, m_file.Blob(TableLayout.TypeSpec, row, 0));
            }
        }

        public string OfReference(int row)
        {
            int scope = m_file.Cell(TableLayout.TypeRef, row, 0);
            string name = Join(TableLayout.TypeRef, row);
            return (scope & 3) == c_nestedInType ? OfReference(scope >> 2) + "/" + name : name;
        }

        public string OfDefinition(int row)
        {
            string name = Join(TableLayout.TypeDef, row);
            for (int i = 1; i <= m_file.Rows(TableLayout.NestedClass); ++i)
            {
                if (m_file.Cell(TableLayout.NestedClass, i, 0) == row)
                    return OfDefinition(m_file.Cell(TableLayout.NestedClass, i, 1)) + "/" + name;
            }
            return name;
        }

        private string Join(int table, int row)
        {
            string space = m_file.Text(table, row, 2);
            string name = m_file.Text(table, row, 1);
            return space.Length == 0 ? name : space + "." + name;
        }
    }
}
