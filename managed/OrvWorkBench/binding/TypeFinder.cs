using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Finds the types that a command names; looks in the user's assemblies first.
    internal sealed class TypeFinder
    {
        private readonly Assemblies m_assemblies;
        private readonly Usings m_usings;
        private readonly TypeKin m_kin;
        private readonly Type m_open;

        // open is the one type of the dispatcher's own that commands may name.
        public TypeFinder(Assemblies assemblies, Usings usings, Type open)
        {
            m_open = open;
            m_assemblies = assemblies;
            m_usings = usings;
            m_kin = new TypeKin(assemblies, usings);
        }

        // Throws CommandError with TypeNotFound (or AssemblyNotFound) when there is no such public type.
        public Type Resolve(TypeSyntax syntax)
        {
            Type type;
            if (syntax.Keyword != null)
                type = TypeNames.FromKeyword(syntax.Keyword);
            else
            {
                int used;
                type = FindPrefix(syntax.Parts, syntax.Assembly, syntax.Position, out used);
                if (type == null)
                    throw NotFound(syntax.Position, syntax.Assembly, syntax.Parts, syntax.Parts.Count);
                type = CloseRest(type, syntax.Parts, used, syntax.Position);
            }
            if (syntax.Nullable)
                type = MakeNullable(type, syntax.Position);
            for (int i = syntax.Ranks.Count - 1; i >= 0; --i)
                type = MakeArray(type, syntax.Ranks[i], syntax.Position);
            return type;
        }

        // The type that the parts begin with: the shortest start that names one, as C# reads a dotted name. Returns
        // null when none does; used is the number of parts that it took.
        public Type FindPrefix(IList<NamePart> parts, string assembly, int position, out int used)
        {
            string name = "";
            for (used = 1; used <= parts.Count; ++used)
            {
                NamePart part = parts[used - 1];
                name += (used > 1 ? "." : "") + part.Name;
                string full = part.Arguments == null ? name : name + "`" + part.Arguments.Count;
                Type found = FindByFullName(full, assembly, position);
                if (found != null)
                    return Close(found, null, part, position);
                if (part.Arguments != null)
                    break;
            }
            used = assembly == null ? 1 : 0;
            return assembly == null ? FindByShortName(parts[0], position) : null;
        }

        // The type that the name stands for by a using; null when there is none.
        private Type FindByShortName(NamePart part, int position)
        {
            if (part.Arguments == null && m_usings.Alias(part.Name) != null)
                return m_usings.Alias(part.Name);
            string name = part.Arguments == null ? part.Name : part.Name + "`" + part.Arguments.Count;
            Type first = null;
            foreach (string space in m_usings.Namespaces)
            {
                Type found = FindByFullName(space + "." + name, null, position);
                if (found != null && first != null && found != first)
                    throw new CommandError(position, "'" + part.Name + "' may be " + TypeNames.Show(first) + " or " + TypeNames.Show(found));
                first = first ?? found;
            }
            return first == null ? null : Close(first, null, part, position);
        }

        // Whether there is a public type in the namespace, or in one below it.
        public bool HasNamespace(string name)
        {
            foreach (Assembly assembly in m_assemblies.InSearchOrder())
            {
                foreach (Type type in PublicTypes(assembly))
                {
                    if (type.Namespace == name || (type.Namespace ?? "").StartsWith(name + ".", StringComparison.Ordinal))
                        return true;
                }
            }
            return FrameworkLibraries.HasNamespace(name);
        }

        // The public nested type of that name; null when there is none.
        public Type FindNested(Type outer, NamePart part)
        {
            string name = part.Arguments == null ? part.Name : part.Name + "`" + part.Arguments.Count;
            for (Type type = outer; type != null; type = type.BaseType)
            {
                Type definition = type.IsGenericType ? type.GetGenericTypeDefinition() : type;
                Type nested = definition.GetNestedType(name, BindingFlags.Public);
                if (nested != null)
                    return Close(nested, type.IsGenericType ? type.GetGenericArguments() : null, part, part.Position);
            }
            return null;
        }

        public CommandError NotFound(int position, string assembly, IList<NamePart> parts, int count)
        {
            string name = "";
            for (int i = 0; i < count; ++i)
                name += (i > 0 ? "." : "") + parts[i].Name;
            Assembly only = assembly == null ? null : m_assemblies.Find(assembly);
            string hint = m_kin.Suggest(name, only);
            return new CommandError(position, ActionResult.TypeNotFound, "there is no public type '" + name + "'" +
                                                                             (hint.Length > 0 ? hint : NothingLoaded()));
        }

        // For an error message about a single name: types of that name. Empty when there is none.
        public string Suggest(string shortName)
        {
            string hint = m_kin.Suggest(shortName, null);
            return hint.Length > 0 ? hint : NothingLoaded();
        }

        private string NothingLoaded()
        {
            return m_assemblies.Loaded.Count == 0 ? "; no assembly is loaded yet" : "";
        }

        // The public types of the assembly. Types that cannot be loaded, because their base type is missing for
        // example, are left out.
        public static IEnumerable<Type> PublicTypes(Assembly assembly)
        {
            Type[] types = new Type[0];
            // An assembly that is still being made in memory may not tell.
            Exception raised = Guard.Run(delegate() { types = assembly.GetTypes(); });
            ReflectionTypeLoadException partial = raised as ReflectionTypeLoadException;
            if (partial != null)
                types = partial.Types;
            foreach (Type type in types)
            {
                if (type != null && type.IsVisible)
                    yield return type;
            }
        }

        private Type FindByFullName(string name, string assemblyName, int position)
        {
            if (assemblyName != null)
            {
                Assembly only = m_assemblies.Find(assemblyName);
                if (only == null)
                    throw new CommandError(position, ActionResult.AssemblyNotFound,
                                           "no assembly '" + assemblyName + "' is loaded");
                return FindIn(only, name);
            }
            Type first = null;
            foreach (Assembly assembly in m_assemblies.Loaded)
            {
                Type found = FindIn(assembly, name);
                if (found != null && first != null && found != first)
                    throw new CommandError(position, "two loaded assemblies have a type '" + name + "': write [" +
                                                         first.Assembly.GetName().Name + "]" + name + " or [" +
                                                         found.Assembly.GetName().Name + "]" + name);
                first = first ?? found;
            }
            if (first != null)
                return first;
            if (name == m_open.FullName)
                return m_open;
            return FindIn(m_assemblies.InSearchOrder(), name) ?? FindIn(FrameworkLibraries.For(name), name);
        }

        private static Type FindIn(IEnumerable<Assembly> assemblies, string name)
        {
            foreach (Assembly assembly in assemblies)
            {
                Type found = FindIn(assembly, name);
                if (found != null)
                    return found;
            }
            return null;
        }

        private static Type FindIn(Assembly assembly, string name)
        {
            try
            {
                Type type = assembly.GetType(name, false, false);
                // Some runtimes tell only at such a question that a base class is missing.
                return type != null && type.IsVisible && typeof(object).IsAssignableFrom(type) ? type : null;
            }
            catch (Exception error)
            {
                // The type exists, but something it depends on cannot be loaded.
                if (error is TypeLoadException || error is System.IO.IOException || error is BadImageFormatException)
                    throw new CommandError(-1, "the type '" + name + "' cannot be loaded: " + error.Message);
                throw;
            }
        }

        private Type CloseRest(Type type, IList<NamePart> parts, int used, int position)
        {
            for (int i = used; i < parts.Count; ++i)
            {
                Type nested = FindNested(type, parts[i]);
                if (nested == null)
                    throw new CommandError(parts[i].Position, ActionResult.TypeNotFound,
                                           "'" + TypeNames.Show(type) + "' has no public nested type '" + parts[i].Name + "'");
                type = nested;
            }
            return type;
        }

        // Fills in the type arguments of a generic type: first those of the type around it, then those in the command.
        private Type Close(Type definition, Type[] outer, NamePart part, int position)
        {
            if (!definition.IsGenericTypeDefinition)
                return definition;
            List<Type> arguments = new List<Type>();
            if (outer != null)
                arguments.AddRange(outer);
            if (part.Arguments != null)
            {
                foreach (TypeSyntax argument in part.Arguments)
                    arguments.Add(Resolve(argument));
            }
            if (definition.GetGenericArguments().Length != arguments.Count)
                throw new CommandError(part.Position, ActionResult.TypeNotFound, "the type '" + TypeNames.Show(definition) +
                                                                      "' needs its type arguments");
            try
            {
                return definition.MakeGenericType(arguments.ToArray());
            }
            catch (Exception error)
            {
                if (error is ArgumentException || error is NotSupportedException || error is TypeLoadException)
                    throw new CommandError(part.Position, ActionResult.TypeNotFound,
                                           "'" + TypeNames.Show(definition) + "' does not take these type arguments: " +
                                               error.Message);
                throw;
            }
        }

        private static Type MakeNullable(Type type, int position)
        {
            if (!type.IsValueType || Nullable.GetUnderlyingType(type) != null)
                throw new CommandError(position, ActionResult.TypeNotFound,
                                       "'" + TypeNames.Show(type) + "?' is not a type: only a value type takes '?'");
            return typeof(Nullable<>).MakeGenericType(type);
        }

        private static Type MakeArray(Type element, int rank, int position)
        {
            try
            {
                return rank == 1 ? element.MakeArrayType() : element.MakeArrayType(rank);
            }
            catch (Exception error)
            {
                if (error is TypeLoadException || error is IndexOutOfRangeException || error is NotSupportedException)
                    throw new CommandError(position, ActionResult.TypeNotFound, "there is no such array type: " + error.Message);
                throw;
            }
        }
    }
}
