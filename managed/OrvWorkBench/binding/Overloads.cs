using System;
using System.Collections.Generic;
using System.Reflection;
using System.Text;

namespace OrvWorkBench
{
    // Chooses among overloads as C# does.
    internal static class Overloads
    {
        // The one overload that fits best. Throws CommandError when none fits or no single one is best. The description
        // names the group of overloads in messages.
        public static Candidate Choose(List<Candidate> group, IList<BoundArgument> arguments, Type[] typeArguments,
                                       int position, string description)
        {
            List<Candidate> applicable = Applicable(group, arguments, typeArguments);
            Candidate best = Best(applicable, arguments);
            if (best != null)
                return best;
            if (applicable.Count == 0)
                throw new CommandError(position, NoneFits(group, arguments, typeArguments, description));
            throw new CommandError(position, "the call of " + description + " is ambiguous between" + List(applicable) +
                                                 "\n  a cast of an argument decides");
        }

        // As Choose; null when none fits or no single one is best.
        public static Candidate TryChoose(List<Candidate> group, IList<BoundArgument> arguments, Type[] typeArguments)
        {
            return Best(Applicable(group, arguments, typeArguments), arguments);
        }

        // The arguments as the method takes them: converted, those of a "params" parameter as one array, defaults
        // filled in.
        public static object[] Prepare(Candidate candidate, IList<BoundArgument> arguments)
        {
            ParameterInfo[] parameters = candidate.Parameters;
            object[] values = new object[parameters.Length];
            for (int i = 0; i < parameters.Length; ++i)
            {
                if (Array.IndexOf(candidate.Places, i) < 0)
                    values[i] = DefaultOf(parameters[i]);
            }
            List<object> rest = new List<object>();
            for (int i = 0; i < arguments.Count; ++i)
            {
                if (arguments[i].Value == null)
                    continue;
                object value = Conversions.Convert(arguments[i].Value, candidate.TypeFor(i));
                if (candidate.IsInRest(i))
                    rest.Add(value);
                else
                    values[candidate.Places[i]] = value;
            }
            if (candidate.IsExpanded)
            {
                int last = parameters.Length - 1;
                Array array = Array.CreateInstance(parameters[last].ParameterType.GetElementType(), rest.Count);
                for (int i = 0; i < rest.Count; ++i)
                    array.SetValue(rest[i], i);
                values[last] = array;
            }
            return values;
        }

        private static object DefaultOf(ParameterInfo parameter)
        {
            Type type = parameter.ParameterType;
            object value = parameter.DefaultValue;
            if (value is Missing && type == typeof(object))
                return value;
            if (value == null || value is DBNull || value is Missing)
                return type.IsValueType ? Activator.CreateInstance(type) : null;
            Type plain = Nullable.GetUnderlyingType(type) ?? type;
            return plain.IsEnum ? Enum.ToObject(plain, value) : value;
        }

        private static List<Candidate> Applicable(List<Candidate> group, IList<BoundArgument> arguments, Type[] typeArguments)
        {
            List<Candidate> applicable = new List<Candidate>();
            foreach (Candidate method in group)
            {
                Candidate fitting = Applicability.TryAnyForm(method, arguments, typeArguments);
                if (fitting != null)
                    applicable.Add(fitting);
            }
            return WithoutHidden(applicable);
        }

        private static Candidate Best(List<Candidate> applicable, IList<BoundArgument> arguments)
        {
            List<Candidate> best = applicable.FindAll(delegate(Candidate candidate) {
                return applicable.TrueForAll(delegate(Candidate other) {
                    return other == candidate || IsBetter(candidate, other, arguments);
                });
            });
            return best.Count == 1 ? best[0] : null;
        }

        // Drops each method of a base class when one of a derived class fits too, as C# does.
        private static List<Candidate> WithoutHidden(List<Candidate> applicable)
        {
            return applicable.FindAll(delegate(Candidate candidate) {
                Type holder = Holder(candidate.Method);
                return !applicable.Exists(delegate(Candidate other) {
                    Type otherHolder = Holder(other.Method);
                    return otherHolder != holder && holder.IsAssignableFrom(otherHolder);
                });
            });
        }

        // The class that first declared the method; an override belongs to the class of the method it overrides.
        private static Type Holder(MethodBase method)
        {
            MethodInfo function = method as MethodInfo;
            return function == null ? method.DeclaringType : function.GetBaseDefinition().DeclaringType;
        }

        private static bool IsBetter(Candidate candidate, Candidate other, IList<BoundArgument> arguments)
        {
            bool better = false;
            bool same = true;
            for (int i = 0; i < arguments.Count; ++i)
            {
                Type mine = candidate.TypeFor(i);
                Type theirs = other.TypeFor(i);
                same = same && mine == theirs;
                if (arguments[i].Value == null)
                    continue;
                int comparison = Conversions.Compare(arguments[i].Value, mine, theirs);
                if (comparison < 0)
                    return false;
                better = better || comparison > 0;
            }
            if (better || !same)
                return better;
            return BreaksTie(candidate, other, arguments);
        }

        private static bool BreaksTie(Candidate candidate, Candidate other, IList<BoundArgument> arguments)
        {
            if (candidate.WasGeneric != other.WasGeneric)
                return !candidate.WasGeneric;
            if (candidate.IsExpanded != other.IsExpanded)
                return !candidate.IsExpanded;
            if (candidate.Parameters.Length != other.Parameters.Length)
                return candidate.IsExpanded ? candidate.Parameters.Length > other.Parameters.Length
                                            : candidate.Parameters.Length < other.Parameters.Length;
            return IsMoreSpecific(candidate, other, arguments);
        }

        // Whether the parameters as they are declared say more: a type instead of a type parameter somewhere, and nowhere
        // the other way round.
        private static bool IsMoreSpecific(Candidate candidate, Candidate other, IList<BoundArgument> arguments)
        {
            ParameterInfo[] mine = candidate.Declared;
            ParameterInfo[] theirs = other.Declared;
            bool more = false;
            for (int i = 0; i < arguments.Count; ++i)
            {
                int comparison = CompareSpecific(candidate.TypeFor(i, mine), other.TypeFor(i, theirs));
                if (comparison < 0)
                    return false;
                more = more || comparison > 0;
            }
            return more;
        }

        private static int CompareSpecific(Type first, Type second)
        {
            if (first.IsGenericParameter || second.IsGenericParameter)
                return first.IsGenericParameter == second.IsGenericParameter ? 0 : second.IsGenericParameter ? 1 : -1;
            if (first.HasElementType && second.HasElementType)
                return CompareSpecific(first.GetElementType(), second.GetElementType());
            if (!first.IsGenericType || !second.IsGenericType)
                return 0;
            Type[] some = first.GetGenericArguments();
            Type[] others = second.GetGenericArguments();
            int result = 0;
            for (int i = 0; i < some.Length && i < others.Length; ++i)
            {
                int comparison = CompareSpecific(some[i], others[i]);
                if (comparison * result < 0)
                    return 0;
                result = comparison == 0 ? result : comparison;
            }
            return result;
        }

        private static string NoneFits(List<Candidate> all, IList<BoundArgument> arguments, Type[] typeArguments,
                                       string description)
        {
            StringBuilder given = new StringBuilder();
            for (int i = 0; i < arguments.Count; ++i)
            {
                given.Append(i > 0 ? ", " : "");
                if (arguments[i].Parameter != null)
                    given.Append(arguments[i].Parameter).Append(": ");
                if (arguments[i].Kind != ArgumentKind.Value)
                    given.Append(arguments[i].Kind == ArgumentKind.Ref ? "ref " : "out");
                if (arguments[i].Value != null)
                    given.Append(Bare(Conversions.Describe(arguments[i].Value)));
            }
            string types = typeArguments == null ? "" : "<" + TypeNames.ShowAll(typeArguments) + ">";
            return description + types + " does not take (" + given + "); there " + (all.Count == 1 ? "is" : "are") + List(all);
        }

        // A type's name without the quotes around it.
        private static string Bare(string description)
        {
            return description.StartsWith("'", StringComparison.Ordinal) ? description.Trim('\'') : description;
        }

        private static string List(List<Candidate> candidates)
        {
            StringBuilder text = new StringBuilder();
            foreach (Candidate candidate in candidates)
                text.Append("\n    ").Append(candidate.Indexer != null ? Signatures.Show(candidate.Indexer) : Signatures.Show(candidate.Method));
            return text.ToString();
        }
    }
}
