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
        public static Candidate Choose(IEnumerable<MethodBase> group, IList<BoundArgument> arguments, Type[] typeArguments,
                                       int position, string description)
        {
            List<MethodBase> all = new List<MethodBase>(group);
            List<Candidate> applicable = new List<Candidate>();
            foreach (MethodBase method in all)
                AddApplicable(applicable, method, arguments, typeArguments);
            if (applicable.Count == 0)
                throw new CommandError(position, NoneFits(all, arguments, typeArguments, description));
            applicable = WithoutHidden(applicable);
            List<Candidate> best = applicable.FindAll(delegate(Candidate candidate) {
                return applicable.TrueForAll(delegate(Candidate other) {
                    return other == candidate || IsBetter(candidate, other, arguments);
                });
            });
            if (best.Count == 1)
                return best[0];
            List<MethodBase> methods = new List<MethodBase>();
            foreach (Candidate candidate in applicable)
                methods.Add(candidate.Method);
            throw new CommandError(position, "the call of " + description + " is ambiguous between" + List(methods) +
                                                 "\n  a cast of an argument decides");
        }

        // The arguments as the method takes them: converted, those of a "params" parameter as one array, defaults
        // filled in.
        public static object[] Prepare(Candidate candidate, IList<BoundArgument> arguments)
        {
            ParameterInfo[] parameters = candidate.Parameters;
            object[] values = new object[parameters.Length];
            int plain = candidate.IsExpanded ? parameters.Length - 1 : parameters.Length;
            for (int i = 0; i < plain; ++i)
            {
                if (i >= arguments.Count)
                    values[i] = DefaultOf(parameters[i]);
                else if (arguments[i].Value != null)
                    values[i] = Conversions.Convert(arguments[i].Value, candidate.TypeFor(i));
            }
            if (candidate.IsExpanded)
            {
                Type element = parameters[plain].ParameterType.GetElementType();
                Array rest = Array.CreateInstance(element, Math.Max(0, arguments.Count - plain));
                for (int i = 0; i < rest.Length; ++i)
                    rest.SetValue(Conversions.Convert(arguments[plain + i].Value, element), i);
                values[plain] = rest;
            }
            return values;
        }

        private static object DefaultOf(ParameterInfo parameter)
        {
            Type type = parameter.ParameterType;
            object value = parameter.DefaultValue;
            if (value == null || value is DBNull || value is Missing)
                return type.IsValueType ? Activator.CreateInstance(type) : null;
            return type.IsEnum ? Enum.ToObject(type, value) : value;
        }

        private static void AddApplicable(List<Candidate> applicable, MethodBase method, IList<BoundArgument> arguments,
                                          Type[] typeArguments)
        {
            Candidate normal = TryForm(method, arguments, typeArguments, false);
            if (normal != null)
            {
                applicable.Add(normal);
                return;
            }
            Candidate expanded = TryForm(method, arguments, typeArguments, true);
            if (expanded != null)
                applicable.Add(expanded);
        }

        // The method in its normal or expanded form, its type parameters closed; null when the arguments do not fit.
        private static Candidate TryForm(MethodBase method, IList<BoundArgument> arguments, Type[] typeArguments,
                                         bool isExpanded)
        {
            Candidate candidate = new Candidate();
            candidate.IsExpanded = isExpanded;
            candidate.WasGeneric = method.IsGenericMethodDefinition;
            candidate.Method = method;
            candidate.Parameters = method.GetParameters();
            if (!CountFits(candidate, arguments.Count))
                return null;
            if (method.IsGenericMethodDefinition)
            {
                candidate.Method = CloseGeneric((MethodInfo)method, candidate, arguments, typeArguments);
                if (candidate.Method == null)
                    return null;
                candidate.Parameters = candidate.Method.GetParameters();
            }
            else if (typeArguments != null)
                return null;
            for (int i = 0; i < arguments.Count; ++i)
            {
                if (!ArgumentFits(candidate, i, arguments[i]))
                    return null;
            }
            return candidate;
        }

        private static bool CountFits(Candidate candidate, int count)
        {
            ParameterInfo[] parameters = candidate.Parameters;
            if (candidate.IsExpanded)
            {
                int last = parameters.Length - 1;
                return last >= 0 && Signatures.TakesMany(parameters[last]) && count >= last;
            }
            if (count > parameters.Length)
                return false;
            for (int i = count; i < parameters.Length; ++i)
            {
                if (!parameters[i].IsOptional)
                    return false;
            }
            return true;
        }

        private static bool ArgumentFits(Candidate candidate, int index, BoundArgument argument)
        {
            bool inRest = candidate.IsExpanded && index >= candidate.Parameters.Length - 1;
            ParameterInfo parameter = candidate.Parameters[Math.Min(index, candidate.Parameters.Length - 1)];
            bool byReference = !inRest && parameter.ParameterType.IsByRef;
            ArgumentKind wanted = !byReference ? ArgumentKind.Value : Signatures.IsOut(parameter) ? ArgumentKind.Out : ArgumentKind.Ref;
            if (argument.Kind != wanted)
                return false;
            Type type = candidate.TypeFor(index);
            return !type.IsPointer && (argument.Kind == ArgumentKind.Out || Conversions.Exists(argument.Value, type));
        }

        private static MethodInfo CloseGeneric(MethodInfo definition, Candidate candidate, IList<BoundArgument> arguments,
                                               Type[] typeArguments)
        {
            Type[] parameters = definition.GetGenericArguments();
            Type[] types = typeArguments;
            if (types == null)
            {
                types = new Type[parameters.Length];
                for (int i = 0; i < arguments.Count; ++i)
                {
                    if (arguments[i].Value != null)
                        Infer(candidate.TypeFor(i), arguments[i].Value, types);
                }
            }
            if (types.Length != parameters.Length || Array.IndexOf(types, null) >= 0)
                return null;
            try
            {
                return definition.MakeGenericMethod(types);
            }
            catch (ArgumentException)
            {
                return null; // a constraint is not met
            }
        }

        private static void Infer(Type parameter, Value value, Type[] types)
        {
            if (value.Elements != null)
            {
                Type natural = Conversions.NaturalArrayType(value.Elements);
                if (natural != null)
                    Infer(parameter, natural, types);
            }
            else if (value.Type != null)
                Infer(parameter, value.Type, types);
        }

        private static void Infer(Type parameter, Type argument, Type[] types)
        {
            if (parameter.IsGenericParameter)
            {
                if (parameter.DeclaringMethod == null)
                    return;
                int index = parameter.GenericParameterPosition;
                if (types[index] == null || Conversions.ExistsStandard(types[index], argument))
                    types[index] = argument;
            }
            else if (parameter.IsArray && argument.IsArray && parameter.GetArrayRank() == argument.GetArrayRank())
                Infer(parameter.GetElementType(), argument.GetElementType(), types);
            else if (parameter.IsGenericType && parameter.ContainsGenericParameters)
                InferFromGeneric(parameter, argument, types);
        }

        private static void InferFromGeneric(Type parameter, Type argument, Type[] types)
        {
            Type definition = parameter.GetGenericTypeDefinition();
            Type match = null;
            for (Type type = argument; type != null && match == null; type = type.BaseType)
            {
                if (type.IsGenericType && type.GetGenericTypeDefinition() == definition)
                    match = type;
            }
            if (match == null && definition == typeof(Nullable<>) && argument.IsValueType)
                match = definition.MakeGenericType(argument);
            foreach (Type type in argument.GetInterfaces())
            {
                if (match == null && type.IsGenericType && type.GetGenericTypeDefinition() == definition)
                    match = type;
            }
            if (match == null)
                return;
            Type[] wanted = parameter.GetGenericArguments();
            Type[] given = match.GetGenericArguments();
            for (int i = 0; i < wanted.Length; ++i)
                Infer(wanted[i], given[i], types);
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
            if (candidate.WasGeneric != other.WasGeneric)
                return !candidate.WasGeneric;
            if (candidate.IsExpanded != other.IsExpanded)
                return !candidate.IsExpanded;
            if (candidate.Parameters.Length != other.Parameters.Length)
                return candidate.IsExpanded ? candidate.Parameters.Length > other.Parameters.Length
                                            : candidate.Parameters.Length < other.Parameters.Length;
            return false;
        }

        private static string NoneFits(List<MethodBase> all, IList<BoundArgument> arguments, Type[] typeArguments,
                                       string description)
        {
            StringBuilder given = new StringBuilder();
            for (int i = 0; i < arguments.Count; ++i)
            {
                given.Append(i > 0 ? ", " : "");
                if (arguments[i].Kind != ArgumentKind.Value)
                    given.Append(arguments[i].Kind == ArgumentKind.Ref ? "ref " : "out");
                if (arguments[i].Value != null)
                    given.Append(Conversions.Describe(arguments[i].Value).Trim('\''));
            }
            string types = typeArguments == null ? "" : "<" + TypeNames.ShowAll(typeArguments) + ">";
            return description + types + " does not take (" + given + "); there " + (all.Count == 1 ? "is" : "are") + List(all);
        }

        private static string List(List<MethodBase> methods)
        {
            StringBuilder text = new StringBuilder();
            foreach (MethodBase method in methods)
                text.Append("\n    ").Append(Signatures.Show(method));
            return text.ToString();
        }
    }
}
