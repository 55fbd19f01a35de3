using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;

namespace OrvWorkBench
{
    // The assemblies that the user has loaded. Also finds the assemblies that these depend on.
    internal sealed class Assemblies
    {
        // What was asked: the runtime makes each name anew.
        private static readonly Dictionary<Assembly, bool> s_isOwn = new Dictionary<Assembly, bool>();

        private readonly List<Assembly> m_loaded = new List<Assembly>();
        private readonly LoadedFiles m_files = new LoadedFiles();

        public Assemblies()
        {
            AppDomain.CurrentDomain.AssemblyResolve += ResolveBesideLoaded;
        }

        // In the order in which they were loaded.
        public IList<Assembly> Loaded
        {
            get { return m_loaded; }
        }

        // The runtime keeps an assembly until the process ends. Forgotten means that a command may load it again and
        // that its types are no longer looked at first.
        public void Forget()
        {
            m_loaded.Clear();
        }

        // The dispatcher itself, which is not there to be tried; also a copy of it that the user's code has loaded.
        public static bool IsOwn(Assembly assembly)
        {
            bool isOwn;
            lock (s_isOwn)
            {
                if (!s_isOwn.TryGetValue(assembly, out isOwn))
                    isOwn = s_isOwn[assembly] = assembly.FullName == typeof(Assemblies).Assembly.FullName;
            }
            return isOwn;
        }

        // A value that leads into the dispatcher.
        public static bool IsOwn(object value)
        {
            return OwnParts.LeadTo(value);
        }

        // Loads what the command names. Returns false when it is loaded already. The difference, which is mostly null,
        // says that the assembly is not what is in the file now. Throws CommandError, with AssemblyNotFound where there is
        // no such file or no such name.
        public bool Load(LoadCommand command, out Assembly assembly, out string difference)
        {
            difference = null;
            try
            {
                assembly = command.IsPath ? LoadFile(command, out difference) : LoadByName(command);
            }
            catch (FileNotFoundException error)
            {
                throw new CommandError(command.Position, ActionResult.AssemblyNotFound, Explain("cannot find", command, error));
            }
            catch (DirectoryNotFoundException error)
            {
                throw new CommandError(command.Position, ActionResult.AssemblyNotFound, Explain("cannot find", command, error));
            }
            catch (BadImageFormatException error)
            {
                throw new CommandError(command.Position, Explain("no managed assembly for this runtime:", command, error));
            }
            catch (FileLoadException error)
            {
                throw new CommandError(command.Position, Explain("the runtime refuses to load", command, error));
            }
            catch (IOException error)
            {
                throw new CommandError(command.Position, Explain("cannot read", command, error));
            }
            catch (UnauthorizedAccessException error)
            {
                throw new CommandError(command.Position, Explain("cannot read", command, error));
            }
            catch (ArgumentException error)
            {
                throw new CommandError(command.Position, Explain("not a valid path or name:", command, error));
            }
            catch (NotSupportedException error)
            {
                throw new CommandError(command.Position, Explain("not a valid path:", command, error));
            }
            catch (System.Security.SecurityException error)
            {
                throw new CommandError(command.Position, Explain("not allowed to load", command, error));
            }
            if (IsOwn(assembly))
                throw new CommandError(command.Position, "this is the dispatcher itself, which commands cannot reach");
            if (m_loaded.Contains(assembly))
                return false;
            m_loaded.Add(assembly);
            return true;
        }

        // The assembly with that simple name: one that the user loaded, else any other in the process; null when there
        // is none.
        public Assembly Find(string simpleName)
        {
            foreach (Assembly assembly in InSearchOrder())
            {
                if (string.Equals(assembly.GetName().Name, simpleName, StringComparison.OrdinalIgnoreCase))
                    return assembly;
            }
            return null;
        }

        // The user's assemblies first, then all others of the process.
        public IEnumerable<Assembly> InSearchOrder()
        {
            foreach (Assembly assembly in m_loaded)
                yield return assembly;
            foreach (Assembly assembly in AppDomain.CurrentDomain.GetAssemblies())
            {
                if (!m_loaded.Contains(assembly) && !IsOwn(assembly))
                    yield return assembly;
            }
        }

        private static string Explain(string what, LoadCommand command, Exception error)
        {
            return what + " \"" + command.Text + "\" (" + error.Message + ")";
        }

        private Assembly LoadFile(LoadCommand command, out string difference)
        {
            string path = Path.GetFullPath(NativePath.FromCommand(command.Text));
            if (Directory.Exists(path))
                throw new CommandError(command.Position, "\"" + command.Text + "\" is a folder");
            if (!File.Exists(path))
                throw new CommandError(command.Position, ActionResult.AssemblyNotFound,
                                       "there is no file \"" + path + "\"");
            // Look at the file first. The runtimes differ in what they say about a file that cannot be read or is no
            // assembly, and they say "not found" also when only something that the assembly depends on is missing.
            new FileStream(path, FileMode.Open, FileAccess.Read, FileShare.ReadWrite | FileShare.Delete).Close();
            Assembly own = typeof(Assemblies).Assembly;
            difference = null;
            if (AssemblyName.GetAssemblyName(path).FullName == own.FullName)
                return own;
            Assembly assembly = Assembly.LoadFrom(path);
            m_files.Remember(assembly);
            difference = m_files.Difference(assembly, path);
            return assembly;
        }

        private static Assembly LoadByName(LoadCommand command)
        {
            AssemblyName name = new AssemblyName(command.Text); // throws when the name is malformed
            try
            {
                return Assembly.Load(name);
            }
            catch (FileNotFoundException)
            {
                // A name without version and key, such as "System.Xml", may be in the global assembly cache.
#pragma warning disable 618
                Assembly assembly = Assembly.LoadWithPartialName(command.Text);
#pragma warning restore 618
                if (assembly == null)
                    throw;
                return assembly;
            }
        }

        // The runtime calls this when it cannot find an assembly. Looks beside the files that the user has loaded.
        private Assembly ResolveBesideLoaded(object sender, ResolveEventArgs request)
        {
            try
            {
                string name = new AssemblyName(request.Name).Name;
                foreach (Assembly assembly in m_loaded)
                {
                    Assembly found = FindBeside(assembly, name);
                    if (found == null)
                        continue;
                    m_files.Remember(found);
                    return found;
                }
            }
            catch (Exception)
            {
                // The runtime reports the missing assembly itself, better than this handler could.
            }
            return null;
        }

        private static Assembly FindBeside(Assembly assembly, string name)
        {
            string folder = Path.GetDirectoryName(assembly.Location);
            if (string.IsNullOrEmpty(folder))
                return null;
            foreach (string extension in new string[] { ".dll", ".exe" })
            {
                string path = Path.Combine(folder, name + extension);
                if (File.Exists(path))
                    return Assembly.LoadFrom(path);
            }
            return null;
        }
    }
}
