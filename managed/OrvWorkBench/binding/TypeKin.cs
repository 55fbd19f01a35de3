using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;

namespace OrvWorkBench
{
    // What a name may mean that names no type: types with a name like it, and assemblies that are not loaded.
    internal sealed class TypeKin
    {
        private const int c_greatestCount = 3;

        private readonly Assemblies m_assemblies;
        private readonly Usings m_usings;

        public TypeKin(Assemblies assemblies, Usings usings)
        {
            m_assemblies = assemblies;
            m_usings = usings;
        }

        // For an error message about that name, without type arguments; empty when nothing is like it. Only an assembly's
        // own types count when one is given.
        public string Suggest(string dottedName, Assembly only)
        {
            string missing = only == null ? FrameworkLibraries.MissingFor(dottedName) : null;
            if (missing != null)
                return "; this runtime has no " + missing + ", where it belongs";
            List<string> found = Like(dottedName, only);
            if (found.Count > 0)
                return "; did you mean " + string.Join(" or ", found.ToArray()) + "?";
            return only == null ? ToLoad(dottedName) : "";
        }

        // The user's types come first, a type of the same short name before one with a name that is not quite the same.
        private List<string> Like(string dottedName, Assembly only)
        {
            List<Assembly> own = new List<Assembly>(m_assemblies.Loaded);
            if (only != null)
                own = new List<Assembly>(new Assembly[] { only });
            List<string> found = Named(own, dottedName, 0);
            if (found.Count == 0 && only == null)
                found = Named(Framework(), dottedName, 0);
            int distance = ShortName(dottedName).Length > 4 ? 2 : 1;
            if (found.Count == 0)
                found = Named(own, dottedName, distance);
            if (found.Count == 0 && only == null)
                found = Named(Framework(), dottedName, distance);
            return found;
        }

        // What is in the process, and the usual libraries.
        private IEnumerable<Assembly> Framework()
        {
            FrameworkLibraries.GetUsual();
            return m_assemblies.InSearchOrder();
        }

        // The nearest types by their short names. A name that is not quite the same must have the namespace that is
        // written, or for a short name one that is used.
        private List<string> Named(IEnumerable<Assembly> assemblies, string dottedName, int greatestDistance)
        {
            string wanted = ShortName(dottedName);
            List<string> spaces = new List<string>(m_usings.Namespaces);
            if (wanted != dottedName)
                spaces = new List<string>(new string[] { dottedName.Substring(0, dottedName.Length - wanted.Length - 1) });
            List<string> names = new List<string>();
            int least = greatestDistance;
            foreach (Assembly assembly in assemblies)
            {
                foreach (Type type in TypeFinder.PublicTypes(assembly))
                {
                    string space = SpaceOf(type);
                    if (greatestDistance > 0 && !spaces.Exists(delegate(string one) {
                            return string.Equals(one, space, StringComparison.OrdinalIgnoreCase);
                        }))
                        continue;
                    int distance = Distance(wanted.ToLowerInvariant(), Bare(type.Name).ToLowerInvariant(), least);
                    if (distance > least)
                        continue;
                    if (distance < least)
                        names.Clear();
                    least = distance;
                    string name = TypeNames.Show(type);
                    if (names.Count < c_greatestCount && !names.Contains(name))
                        names.Add(name);
                }
            }
            return names;
        }

        private static string SpaceOf(Type type)
        {
            return type.DeclaringType != null ? type.DeclaringType.FullName.Replace('+', '.') : type.Namespace ?? "";
        }

        private static string ShortName(string dottedName)
        {
            return dottedName.Substring(dottedName.LastIndexOf('.') + 1);
        }

        // Without the number of type parameters.
        private static string Bare(string name)
        {
            int tick = name.IndexOf('`');
            return tick < 0 ? name : name.Substring(0, tick);
        }

        // How many letters must be put in, taken out or replaced; a number above the greatest one when it is more.
        private static int Distance(string one, string other, int greatest)
        {
            if (Math.Abs(one.Length - other.Length) > greatest)
                return greatest + 1;
            if (greatest == 0)
                return one == other ? 0 : 1;
            int[] row = new int[other.Length + 1];
            for (int i = 0; i < row.Length; ++i)
                row[i] = i;
            for (int i = 1; i <= one.Length; ++i)
            {
                int diagonal = row[0];
                row[0] = i;
                for (int j = 1; j < row.Length; ++j)
                {
                    int replaced = diagonal + (one[i - 1] == other[j - 1] ? 0 : 1);
                    diagonal = row[j];
                    row[j] = Math.Min(replaced, Math.Min(row[j], row[j - 1]) + 1);
                }
            }
            return row[other.Length];
        }

        // The assembly that is named like the longest part of the type's namespace: one that a loaded assembly needs, or a
        // file beside one.
        private string ToLoad(string dottedName)
        {
            string best = null;
            string text = "";
            foreach (Assembly assembly in m_assemblies.Loaded)
            {
                foreach (string file in FilesBeside(assembly))
                {
                    string name = Path.GetFileNameWithoutExtension(file);
                    if (!IsStartOf(name, dottedName) || m_assemblies.Find(name) != null || (best != null && best.Length >= name.Length))
                        continue;
                    best = name;
                    text = "; " + name + " may have it: load " + file;
                }
                foreach (AssemblyName needed in assembly.GetReferencedAssemblies())
                {
                    if (!IsStartOf(needed.Name, dottedName) || m_assemblies.Find(needed.Name) != null ||
                        (best != null && best.Length >= needed.Name.Length))
                        continue;
                    best = needed.Name;
                    text = "; " + needed.Name + " may have it, which " + assembly.GetName().Name + " needs: load " + needed.Name;
                }
            }
            return text;
        }

        private static bool IsStartOf(string assemblyName, string dottedName)
        {
            return dottedName.StartsWith(assemblyName + ".", StringComparison.OrdinalIgnoreCase);
        }

        private static string[] FilesBeside(Assembly assembly)
        {
            string[] files = new string[0];
            Guard.Run(delegate() { files = Directory.GetFiles(Path.GetDirectoryName(assembly.Location), "*.dll"); });
            return files;
        }
    }
}
