using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The libraries that come with the runtime. Their types need no load command: the library is taken into the process
    // when one of its types is named. Which there are depends on the runtime.
    internal static class FrameworkLibraries
    {
        // Each library with the namespaces that it has types in.
        private static readonly string[,] s_libraries = {
            { "System", "System System.CodeDom.Compiler System.Collections.Concurrent System.Collections.Generic " +
                        "System.Collections.ObjectModel System.Collections.Specialized System.ComponentModel " +
                        "System.ComponentModel.Design System.Configuration System.Diagnostics System.IO System.IO.Compression System.IO.Ports " +
                        "System.Media System.Net System.Net.Mail System.Net.Mime System.Net.NetworkInformation System.Net.Security " +
                        "System.Net.Sockets System.Reflection System.Runtime.InteropServices System.Security.Authentication " +
                        "System.Security.Cryptography System.Security.Cryptography.X509Certificates " +
                        "System.Text.RegularExpressions System.Threading System.Timers System.Web Microsoft.CSharp " +
                        "Microsoft.VisualBasic Microsoft.Win32" },
            { "System.Core", "System System.Collections.Generic System.Diagnostics System.Dynamic System.IO " +
                             "System.IO.MemoryMappedFiles System.IO.Pipes System.Linq System.Linq.Expressions " +
                             "System.Runtime.CompilerServices System.Security.Cryptography System.Threading System.Threading.Tasks" },
            { "System.Xml", "System.Xml System.Xml.Schema System.Xml.Serialization System.Xml.XPath System.Xml.Xsl" },
            { "System.Xml.Linq", "System.Xml.Linq System.Xml.Schema System.Xml.XPath" },
            { "System.Numerics", "System.Numerics" },
            { "System.Data", "System.Data System.Data.Common System.Data.Odbc System.Data.OleDb System.Data.Sql " +
                             "System.Data.SqlClient System.Data.SqlTypes System.Xml" },
            { "System.Configuration", "System.Configuration" },
            { "System.Drawing", "System.Drawing System.Drawing.Drawing2D System.Drawing.Imaging System.Drawing.Printing System.Drawing.Text" },
            { "System.IO.Compression", "System.IO.Compression" },
            { "System.IO.Compression.FileSystem", "System.IO.Compression" },
            { "System.Net.Http", "System.Net.Http System.Net.Http.Headers" },
            { "System.Runtime.Serialization", "System.Runtime.Serialization System.Runtime.Serialization.Json System.Xml" },
            { "System.Security", "System.Security.Cryptography System.Security.Cryptography.Pkcs System.Security.Cryptography.Xml" },
            { "System.ServiceProcess", "System.ServiceProcess" },
            { "System.Transactions", "System.Transactions" },
            { "System.Web", "System.Web System.Web.Caching System.Web.UI" },
            { "System.Web.Extensions", "System.Web.Script.Serialization" },
            { "System.Windows.Forms", "System.Windows.Forms" },
            { "System.Management", "System.Management" },
            { "System.DirectoryServices", "System.DirectoryServices" },
            { "Microsoft.CSharp", "Microsoft.CSharp.RuntimeBinder" },
            { "Microsoft.VisualBasic", "Microsoft.VisualBasic" },
        };

        // The namespaces of each.
        private static readonly string[][] s_namespaces = Split();

        // Null for a library that the runtime does not have.
        private static readonly Dictionary<string, Assembly> s_asked = new Dictionary<string, Assembly>();

        // The libraries that may have a type of that full name, and that the runtime has.
        public static IEnumerable<Assembly> For(string fullName)
        {
            foreach (string name in NamesFor(NamespaceOf(fullName)))
            {
                Assembly library = Get(name);
                if (library != null)
                    yield return library;
            }
        }

        // The library in which one looks for such a type, when the runtime has none of those; null otherwise.
        public static string MissingFor(string fullName)
        {
            string missing = null;
            foreach (string name in NamesFor(NamespaceOf(fullName)))
            {
                if (Get(name) != null)
                    return null;
                missing = missing ?? name;
            }
            return missing;
        }

        // Whether a library that the runtime has holds types in the namespace, or in one below it.
        public static bool HasNamespace(string name)
        {
            for (int i = 0; i < s_libraries.GetLength(0); ++i)
            {
                foreach (string known in s_namespaces[i])
                {
                    if ((known == name || known.StartsWith(name + ".", StringComparison.Ordinal)) && Get(s_libraries[i, 0]) != null)
                        return true;
                }
            }
            return false;
        }

        // Those in which the libraries have types, whether the runtime has the library or not.
        public static IEnumerable<string> Namespaces
        {
            get
            {
                for (int i = 0; i < s_libraries.GetLength(0); ++i)
                {
                    foreach (string known in s_namespaces[i])
                        yield return known;
                }
            }
        }

        // Brings those into the process that nearly every program uses.
        public static void GetUsual()
        {
            foreach (string name in new string[] { "System", "System.Core" })
                Get(name);
        }

        // The library of that name; null when the runtime has none.
        public static Assembly Get(string name)
        {
            Assembly library;
            if (s_asked.TryGetValue(name, out library))
                return library;
            // Without version and key, which differ between runtimes.
#pragma warning disable 618
            Guard.Run(delegate() { library = Assembly.LoadWithPartialName(name); });
#pragma warning restore 618
            s_asked[name] = library;
            return library;
        }

        private static string[][] Split()
        {
            string[][] namespaces = new string[s_libraries.GetLength(0)][];
            for (int i = 0; i < namespaces.Length; ++i)
                namespaces[i] = s_libraries[i, 1].Split(' ');
            return namespaces;
        }

        private static string NamespaceOf(string fullName)
        {
            int dot = fullName.LastIndexOf('.');
            return dot < 0 ? "" : fullName.Substring(0, dot);
        }

        private static IEnumerable<string> NamesFor(string space)
        {
            if (space.Length == 0)
                yield break;
            for (int i = 0; i < s_libraries.GetLength(0); ++i)
            {
                if (Array.IndexOf(s_namespaces[i], space) >= 0)
                    yield return s_libraries[i, 0];
            }
        }
    }
}
