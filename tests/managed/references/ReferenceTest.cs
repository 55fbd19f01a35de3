using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;

namespace OrvReferences
{
    // ReferenceTest LIBRARY ASSEMBLY...: whether each assembly can be loaded by the 2.0 runtime and finds there all it
    // refers to. LIBRARY is the reference library, the list of what 2.0 has. Ends with 0 when all can.
    internal static class ReferenceTest
    {
        private const string c_runtime = "v2.0.50727";
        // Libraries of the system, Windows' and Unix', from which functions are taken.
        private static readonly string[] s_modules = { "kernel32", "libc" };

        private const string c_library = "mscorlib, 2.0.0.0, culture '', key B77A5C561934E089";
        // Without this attribute a thrown object that is no Exception would pass every handler of the dispatcher.
        private const string c_wrapping =
            "System.Runtime.CompilerServices.RuntimeCompatibilityAttribute::.ctor: instance void ()";

        private static int Main(string[] arguments)
        {
            if (arguments.Length < 2)
            {
                Console.WriteLine("ReferenceTest LIBRARY ASSEMBLY...");
                return 2;
            }
            Library library = new Library(new MetadataFile(arguments[0]));
            int wrong = 0;
            for (int i = 1; i < arguments.Length; ++i)
                wrong += Check(library, arguments[i]);
            return wrong == 0 ? 0 : 1;
        }

        // Returns how many complaints there are.
        private static int Check(Library library, string path)
        {
            MetadataFile file = new MetadataFile(path);
            List<string> types = Types(file);
            List<string> members = Members(file);
            List<string> complaints = new List<string>();
            if (file.RuntimeVersion != c_runtime)
                complaints.Add("is for the runtime " + file.RuntimeVersion);
            foreach (string reference in Assemblies(file))
            {
                if (reference != c_library)
                    complaints.Add("refers to " + reference);
            }
            for (int row = 1; row <= file.Rows(TableLayout.ModuleRef); ++row)
            {
                string module = file.Text(TableLayout.ModuleRef, row, 0);
                if (Array.IndexOf(s_modules, module) < 0)
                    complaints.Add("refers to the module " + module);
            }
            foreach (string type in types)
            {
                if (!library.HasType(type))
                    complaints.Add("uses the type " + type);
            }
            foreach (string member in members)
            {
                if (!library.HasMember(member))
                    complaints.Add("uses " + member);
            }
            if (!members.Contains(c_wrapping))
                complaints.Add("lacks RuntimeCompatibility");
            string name = Path.GetFileName(path);
            foreach (string complaint in complaints)
                Console.WriteLine(name + " " + complaint);
            Console.WriteLine("{0}: {1} types and {2} members, {3} complaints", name, types.Count, members.Count, complaints.Count);
            return complaints.Count;
        }

        private static IEnumerable<string> Assemblies(MetadataFile file)
        {
            const int key = 5, name = 6, culture = 7;
            for (int row = 1; row <= file.Rows(TableLayout.AssemblyRef); ++row)
            {
                string version = "";
                for (int part = 0; part < 4; ++part)
                    version += (part > 0 ? "." : "") + file.Cell(TableLayout.AssemblyRef, row, part);
                yield return file.Text(TableLayout.AssemblyRef, row, name) + ", " + version + ", culture '" +
                    file.Text(TableLayout.AssemblyRef, row, culture) + "', key " +
                    BitConverter.ToString(file.Blob(TableLayout.AssemblyRef, row, key)).Replace("-", "");
            }
        }

        private static List<string> Types(MetadataFile file)
        {
            TypeNames names = new TypeNames(file);
            List<string> types = new List<string>();
            for (int row = 1; row <= file.Rows(TableLayout.TypeRef); ++row)
                types.Add(names.OfReference(row));
            return types;
        }

        // The members of other assemblies' types. Those of arrays are the runtime's own, those of a generic type of the
        // file itself are no concern here.
        private static List<string> Members(MetadataFile file)
        {
            TypeNames names = new TypeNames(file);
            List<string> members = new List<string>();
            for (int row = 1; row <= file.Rows(TableLayout.MemberRef); ++row)
            {
                string type = Parent(file, names, file.Cell(TableLayout.MemberRef, row, 0));
                if (type == null || IsOwn(file, names, type))
                    continue;
                members.Add(Library.Member(type, file.Text(TableLayout.MemberRef, row, 1),
                                           SignatureReader.ReadMember(names, file.Blob(TableLayout.MemberRef, row, 2))));
            }
            return members;
        }

        private static string Parent(MetadataFile file, TypeNames names, int parent)
        {
            const int definition = 0, reference = 1, constructed = 4;
            switch (parent & 7)
            {
            case definition:
                return names.OfDefinition(parent >> 3);
            case reference:
                return names.OfReference(parent >> 3);
            case constructed:
                return SignatureReader.ReadDefinition(names, file.Blob(TableLayout.TypeSpec, parent >> 3, 0));
            default:
                throw new BadImageFormatException("a member of table " + (parent & 7).ToString(CultureInfo.InvariantCulture));
            }
        }

        private static bool IsOwn(MetadataFile file, TypeNames names, string type)
        {
            for (int row = 1; row <= file.Rows(TableLayout.TypeDef); ++row)
            {
                if (names.OfDefinition(row) == type)
                    return true;
            }
            return false;
        }
    }
}
