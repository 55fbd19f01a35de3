using System;
using System.Reflection;

namespace OrvWorkBench
{
    // What the session's commands have made, for those who look at it.
    internal sealed class Surroundings
    {
        public readonly Assemblies Assemblies;
        public readonly Instances Instances;
        public readonly Usings Usings;
        public readonly TypeFinder Types;
        private readonly Evaluator m_evaluator;
        private readonly WatchTest m_canWatch;

        // Whether set may watch the event of the object: it is not watched yet, and its arguments can be printed.
        public delegate bool WatchTest(EventInfo watched, object source);

        public Surroundings(Assemblies assemblies, Instances instances, Usings usings, TypeFinder types, Evaluator evaluator,
                            WatchTest canWatch)
        {
            Usings = usings;
            Types = types;
            Assemblies = assemblies;
            Instances = instances;
            m_evaluator = evaluator;
            m_canWatch = canWatch;
        }

        public bool CanWatch(EventInfo watched, object source)
        {
            return m_canWatch(watched, source);
        }

        // The type that the text names, also as it is listed, "Shop.List<T>"; else the type of the expression's value.
        // Throws CommandError and UserCodeError.
        public Type TypeOf(string text)
        {
            Type listed = Listed(text.Trim());
            if (listed != null)
                return listed;
            Type type;
            Value value = m_evaluator.Subject(Parser.ParseSubject(text), out type);
            if (type != null)
                return type;
            if (value.Data == null && value.Type == null)
                throw new CommandError(-1, "null has no members");
            return value.Data == null ? value.Type : value.Data.GetType();
        }

        // Throws CommandError and UserCodeError.
        public Value ValueOf(string text)
        {
            Type type;
            Value value = m_evaluator.Subject(Parser.ParseSubject(text), out type);
            if (type != null)
                throw new CommandError(-1, "'" + TypeNames.Show(type) + "' is a type, not a value");
            return value;
        }

        // The type of the loaded assemblies that is listed so, "Shop.List<T>"; null for what can be written.
        public Type Listed(string name)
        {
            if (name == "void" && !Instances.Has(name))
                return typeof(void);
            if (name.IndexOf('<') < 0)
                return null;
            foreach (Assembly assembly in Assemblies.Loaded)
            {
                foreach (Type type in TypeFinder.PublicTypes(assembly))
                {
                    // Compilers give names that cannot be written.
                    if ((type.IsGenericTypeDefinition || type.Name.IndexOf('<') >= 0) && TypeNames.Show(type) == name)
                        return type;
                }
            }
            return null;
        }
    }
}
