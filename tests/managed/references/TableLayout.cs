using System.Collections.Generic;
using System.Globalization;

namespace OrvReferences
{
    // The tables of a managed file's metadata (ECMA-335, partition II, 22) and how wide their columns are.
    internal sealed class TableLayout
    {
        public const int TypeRef = 0x01;
        public const int TypeDef = 0x02;
        public const int Field = 0x04;
        public const int MethodDef = 0x06;
        public const int MemberRef = 0x0A;
        public const int ModuleRef = 0x1A;
        public const int TypeSpec = 0x1B;
        public const int AssemblyRef = 0x23;
        public const int NestedClass = 0x29;

        // The columns of each table by its number: 2 or 4 bytes, an offset in the heap of strings (s), GUIDs (g) or
        // blobs (b), a row of the table with that number (:04), or a row of one of several tables (a name of
        // s_choices).
        private static readonly string[] s_columns = new string[] {
            "2 s g g g",                           // 00 Module
            "ResolutionScope s s",                 // 01 TypeRef
            "4 s s TypeDefOrRef :04 :06",          // 02 TypeDef
            ":04",                                 // 03
            "2 s b",                               // 04 Field
            ":06",                                 // 05
            "4 2 2 s b :08",                       // 06 MethodDef
            ":08",                                 // 07
            "2 2 s",                               // 08 Param
            ":02 TypeDefOrRef",                    // 09 InterfaceImpl
            "MemberRefParent s b",                 // 0A MemberRef
            "2 HasConstant b",                     // 0B Constant
            "HasCustomAttribute AttributeType b",  // 0C CustomAttribute
            "HasFieldMarshal b",                   // 0D FieldMarshal
            "2 HasDeclSecurity b",                 // 0E DeclSecurity
            "2 4 :02",                             // 0F ClassLayout
            "4 :04",                               // 10 FieldLayout
            "b",                                   // 11 StandAloneSig
            ":02 :14",                             // 12 EventMap
            ":14",                                 // 13
            "2 s TypeDefOrRef",                    // 14 Event
            ":02 :17",                             // 15 PropertyMap
            ":17",                                 // 16
            "2 s b",                               // 17 Property
            "2 :06 HasSemantics",                  // 18 MethodSemantics
            ":02 MethodDefOrRef MethodDefOrRef",   // 19 MethodImpl
            "s",                                   // 1A ModuleRef
            "b",                                   // 1B TypeSpec
            "2 MemberForwarded s :1A",             // 1C ImplMap
            "4 :04",                               // 1D FieldRVA
            "4 4",                                 // 1E
            "4",                                   // 1F
            "4 2 2 2 2 4 b s s",                   // 20 Assembly
            "4",                                   // 21
            "4 4 4",                               // 22
            "2 2 2 2 4 b s s b",                   // 23 AssemblyRef
            "4 :23",                               // 24
            "4 4 4 :23",                           // 25
            "4 s b",                               // 26 File
            "4 4 s s Implementation",              // 27 ExportedType
            "4 4 s Implementation",                // 28 ManifestResource
            ":02 :02",                             // 29 NestedClass
            "2 2 TypeOrMethodDef s",               // 2A GenericParam
            "MethodDefOrRef b",                    // 2B MethodSpec
            ":02 TypeDefOrRef"                     // 2C GenericParamConstraint
        };

        private static readonly Dictionary<string, int[]> s_choices = MakeChoices();

        private readonly int[] m_rows;
        private readonly int m_heapSizes;

        // heapSizes has a bit for each heap whose offsets take four bytes: 1 strings, 2 GUIDs, 4 blobs.
        public TableLayout(int[] rows, int heapSizes)
        {
            m_rows = rows;
            m_heapSizes = heapSizes;
        }

        public static int Count
        {
            get { return s_columns.Length; }
        }

        // The bytes of each column.
        public int[] Widths(int table)
        {
            string[] columns = s_columns[table].Split(' ');
            int[] widths = new int[columns.Length];
            for (int i = 0; i < widths.Length; ++i)
                widths[i] = Width(columns[i]);
            return widths;
        }

        private int Width(string column)
        {
            switch (column)
            {
            case "2":
                return 2;
            case "4":
                return 4;
            case "s":
                return HeapWidth(1);
            case "g":
                return HeapWidth(2);
            case "b":
                return HeapWidth(4);
            }
            if (column[0] == ':')
                return m_rows[int.Parse(column.Substring(1), NumberStyles.AllowHexSpecifier, CultureInfo.InvariantCulture)] < 0x10000 ? 2 : 4;
            return ChoiceWidth(s_choices[column]);
        }

        private int HeapWidth(int bit)
        {
            return (m_heapSizes & bit) != 0 ? 4 : 2;
        }

        // The lowest bits of such a column say which of the tables it means.
        private int ChoiceWidth(int[] tables)
        {
            int bits = 0;
            while (1 << bits < tables.Length)
                ++bits;
            foreach (int table in tables)
            {
                if (table >= 0 && m_rows[table] >= 1 << (16 - bits))
                    return 4;
            }
            return 2;
        }

        private static Dictionary<string, int[]> MakeChoices()
        {
            Dictionary<string, int[]> choices = new Dictionary<string, int[]>();
            choices["TypeDefOrRef"] = new int[] { 0x02, 0x01, 0x1B };
            choices["HasConstant"] = new int[] { 0x04, 0x08, 0x17 };
            choices["HasCustomAttribute"] = new int[] { 0x06, 0x04, 0x01, 0x02, 0x08, 0x09, 0x0A, 0x00, 0x0E, 0x17, 0x14,
                                                        0x11, 0x1A, 0x1B, 0x20, 0x23, 0x26, 0x27, 0x28, 0x2A, 0x2C, 0x2B };
            choices["HasFieldMarshal"] = new int[] { 0x04, 0x08 };
            choices["HasDeclSecurity"] = new int[] { 0x02, 0x06, 0x20 };
            choices["MemberRefParent"] = new int[] { 0x02, 0x01, 0x1A, 0x06, 0x1B };
            choices["HasSemantics"] = new int[] { 0x14, 0x17 };
            choices["MethodDefOrRef"] = new int[] { 0x06, 0x0A };
            choices["MemberForwarded"] = new int[] { 0x04, 0x06 };
            choices["Implementation"] = new int[] { 0x26, 0x23, 0x27 };
            choices["AttributeType"] = new int[] { -1, -1, 0x06, 0x0A, -1 };
            choices["ResolutionScope"] = new int[] { 0x00, 0x1A, 0x23, 0x01 };
            choices["TypeOrMethodDef"] = new int[] { 0x02, 0x06 };
            return choices;
        }
    }
}
