using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;

namespace OrvWorkBench
{
    // Complete command lines for one word, made of what is loaded and made just now. Nothing of the user's runs to find
    // them, and each of them binds.
    internal sealed partial class Examples
    {
        private const int c_greatestCount = 3;
        // A call takes small numbers, a new object and a property middling ones.
        private const int c_small = 1;
        private const int c_middling = 20;

        private readonly Surroundings m_at;
        private readonly StaticTypes m_statics;
        private readonly string m_word;
        private readonly List<string> m_lines = new List<string>();
        private readonly List<string> m_newNames = new List<string>();

        private Examples(Surroundings at, string word)
        {
            m_at = at;
            m_statics = new StaticTypes(at.Instances, at.Types);
            m_word = word;
        }

        // None for a word that is no command's.
        public static IList<string> Of(Surroundings at, string word)
        {
            Examples examples = new Examples(at, word);
            examples.Find();
            return examples.m_lines;
        }

        private bool IsFull
        {
            get { return m_lines.Count >= c_greatestCount; }
        }

        private void Add(string text)
        {
            string line = text.Length == 0 ? m_word : m_word + " " + text;
            if (!IsFull && !m_lines.Contains(line))
                m_lines.Add(line);
        }

        private void Find()
        {
            switch (m_word)
            {
            case "load":
                AddLoads();
                break;
            case "create":
                AddCreations();
                break;
            case "invoke":
                AddCalls();
                break;
            case "get":
                AddReads();
                break;
            case "set":
                AddSets();
                break;
            case "delete":
                AddDeletions();
                break;
            case "types":
            case "members":
            case "find":
            case "dump":
                AddQuestions();
                break;
            case "reset":
            case "stop":
            case "instances":
                Add("");
                break;
            }
        }

        private void AddLoads()
        {
            const string name = "OrvSample.dll";
            string sample = Path.Combine(Path.GetDirectoryName(typeof(Examples).Assembly.Location), name);
            if (File.Exists(Path.Combine(Directory.GetCurrentDirectory(), name)))
                Add(name);
            else if (File.Exists(sample))
                Add(sample.IndexOf(' ') < 0 ? sample : "\"" + sample + "\"");
            if (FrameworkLibraries.Get("System.Xml") != null)
                Add("System.Xml");
        }

        private void AddDeletions()
        {
            foreach (string name in m_at.Instances.Names)
                Add(WrittenName.Of(name));
            foreach (string space in m_at.Usings.Namespaces)
                Add("using " + space);
            foreach (string alias in m_at.Usings.Aliases)
                Add("using " + WrittenName.Of(alias));
        }

        // A name that is free, made of the type's; another one for each example.
        private string NewName(string typeName)
        {
            string first = char.IsLetter(typeName[0]) ? typeName.Substring(0, 1).ToLowerInvariant() : "x";
            string name = first;
            for (int i = 2; m_at.Instances.Has(name) || m_newNames.Contains(name); ++i)
                name = first + i;
            m_newNames.Add(name);
            return name;
        }

        // The types that an example is worth, of the loaded assemblies.
        private IEnumerable<Type> LoadedTypes()
        {
            foreach (Assembly assembly in m_at.Assemblies.Loaded)
            {
                foreach (Type type in TypeFinder.PublicTypes(assembly))
                {
                    if (IsWorthy(type))
                        yield return type;
                }
            }
        }

        private static bool IsWorthy(Type type)
        {
            bool isWorthy = false;
            // What it is made of may not be there.
            Guard.Run(delegate() {
                isWorthy = !type.ContainsGenericParameters && !typeof(Exception).IsAssignableFrom(type) &&
                           !typeof(Attribute).IsAssignableFrom(type) && !typeof(Delegate).IsAssignableFrom(type);
            });
            return isWorthy;
        }

        // Whether the command language finds one thing of that kind behind the text.
        private bool Binds(string text)
        {
            try
            {
                return m_statics.Binds(Parser.ParseSubject(text));
            }
            catch (CommandError)
            {
                return false;
            }
        }

        // What the instance is; null when it has no members to show.
        private Node NodeOf(string instance)
        {
            Node node;
            try
            {
                node = m_statics.Of(Parser.ParseSubject(WrittenName.Of(instance)));
            }
            catch (CommandError)
            {
                return null;
            }
            return node == null || node.Type != null || node.Object == null ? null : node;
        }
    }
}
