using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;

namespace OrvWorkBench
{
    // The assemblies that the user has loaded, and finding what they depend on.
    internal sealed class Assemblies
    {
        private readonly List<Assembly> m_loaded = new List<Assembly>();

        public Assemblies()
        {
            AppDomain.CurrentDomain.AssemblyResolve += ResolveBesideLoaded;
        }

        // In the order in which they were loaded.
        public IList<Assembly> Loaded
        {
            get { return m_loaded; }
        }

        // The runtime keeps an assembly until the process ends; forgotten means that it may be loaded again by command
        // and that its types no longer go before others.
        public void Forget()
        {
            m_loaded.Clear();
        }

        // Loads what the command names. Returns false when it is loaded already. Throws CommandError, with
        // AssemblyNotFound where there is no such file or no such name.
        public bool Load(LoadCommand command, out Assembly assembly)
        {
            try
            {
                assembly = command.IsPath ? LoadFile(command) : LoadByName(command);
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
            if (m_loaded.Contains(assembly))
                return false;
            m_loaded.Add(assembly);
            return true;
        }

        // The loaded assembly of the given simple name, else any other of the process; null when there is none.
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
                if (!m_loaded.Contains(assembly) && assembly != typeof(Assemblies).Assembly)
                    yield return assembly;
            }
        }

        private static string Explain(string what, LoadCommand command, Exception error)
        {
            return what + " \"" + command.Text + "\" (" + error.Message + ")";
        }

        private static Assembly LoadFile(LoadCommand command)
        {
            string path = Path.GetFullPath(NativePath.FromCommand(command.Text));
            if (Directory.Exists(path))
                throw new CommandError(command.Position, "\"" + command.Text + "\" is a folder");
            if (!File.Exists(path))
                throw new CommandError(command.Position, ActionResult.AssemblyNotFound,
                                       "there is no file \"" + path + "\"");
            // The runtime's own message about a file that is no assembly is not the same everywhere, and it would answer
            // "not found" for a file whose dependency is missing: look at the file first.
            AssemblyName.GetAssemblyName(path);
            return Assembly.LoadFrom(path);
        }

        private static Assembly LoadByName(LoadCommand command)
        {
            AssemblyName name = new AssemblyName(command.Text); // refuses what is malformed
            try
            {
                return Assembly.Load(name);
            }
            catch (FileNotFoundException)
            {
                // A name without version and key, such as "System.Xml", is completed from the global cache.
#pragma warning disable 618
                Assembly assembly = Assembly.LoadWithPartialName(command.Text);
#pragma warning restore 618
                if (assembly == null)
                    throw;
                return assembly;
            }
        }

        // Called by the runtime when it finds no assembly of a name: the files beside the loaded ones come next.
        private Assembly ResolveBesideLoaded(object sender, ResolveEventArgs request)
        {
            try
            {
                string name = new AssemblyName(request.Name).Name;
                foreach (Assembly assembly in m_loaded)
                {
                    Assembly found = FindBeside(assembly, name);
                    if (found != null)
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
