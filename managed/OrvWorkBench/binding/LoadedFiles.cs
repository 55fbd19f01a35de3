using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;

namespace OrvWorkBench
{
    // What the files were like when the process took them in: the runtime keeps an assembly, whatever happens to its file.
    internal sealed class LoadedFiles
    {
        private readonly Dictionary<Assembly, string> m_stamps = new Dictionary<Assembly, string>();

        // To be called when an assembly has been loaded from its file, at least the first time.
        public void Remember(Assembly assembly)
        {
            if (!m_stamps.ContainsKey(assembly))
                m_stamps[assembly] = StampOf(assembly.Location);
        }

        // What the user has to know who asks for a file and gets an assembly of that name; null when it is that very file.
        public string Difference(Assembly assembly, string path)
        {
            const string way = "; end the workbench and start it again to load this one";
            string taken = m_stamps[assembly];
            string now = StampOf(path);
            if (!IsSame(path, assembly.Location))
                return now == taken ? "the process has it from " + assembly.Location
                                    : "the process has it from " + assembly.Location + " already and keeps that" + way;
            return now == taken ? null : "the file has changed since, but the process keeps what it has" + way;
        }

        private static bool IsSame(string one, string other)
        {
            StringComparison comparison = Path.DirectorySeparatorChar == '\\' ? StringComparison.OrdinalIgnoreCase : StringComparison.Ordinal;
            return string.Equals(Path.GetFullPath(one), Path.GetFullPath(other), comparison);
        }

        // Changes with the file; empty for what is no file.
        private static string StampOf(string path)
        {
            string stamp = "";
            Guard.Run(delegate() {
                FileInfo file = new FileInfo(path);
                stamp = file.Length + " " + file.LastWriteTimeUtc.Ticks;
            });
            return stamp;
        }
    }
}
