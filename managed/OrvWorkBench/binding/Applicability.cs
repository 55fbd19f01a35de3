using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Whether a method takes the arguments of a call, and how.
    internal static class Applicability
    {
        // The method as the arguments fit it, its type parameters filled in; null when they do not. The normal form of a
        // "params" method goes before the expanded one.
        public static Candidate TryAnyForm(Candidate method, IList<BoundArgument> arguments, Type[] typeArguments)
        {
            return TryForm(method, arguments, typeArguments, false) ?? TryForm(method, arguments, typeArguments, true);
        }

        private static Candidate TryForm(Candidate method, IList<BoundArgument> arguments, Type[] typeArguments,
                                         bool isExpanded)
        {
            Candidate candidate = method.Copy();
            candidate.IsExpanded = isExpanded;
            if (!Place(candidate, arguments))
                return null;
            if (candidate.WasGeneric)
            {
                candidate.Method = CloseGeneric(candidate, arguments, typeArguments);
                if (candidate.Method == null)
                    return null;
                candidate.Parameters = candidate.Method.GetParameters();
            }
            else if (typeArguments != null)
                return null;
            for (int i = 0; i < arguments.Count; ++i)
            {
                if (!Fits(candidate, i, arguments[i]))
                    return null;
            }
            return candidate;
        }

        // Finds each argument's parameter; false when there is none, or when a parameter that needs an argument gets none.
        private static bool Place(Candidate candidate, IList<BoundArgument> arguments)
        {
            ParameterInfo[] parameters = candidate.Parameters;
            int last = parameters.Length - 1;
            if (candidate.IsExpanded && (last < 0 || !Signatures.TakesMany(parameters[last])))
                return false;
            bool[] isTaken = new bool[parameters.Length];
            candidate.Places = new int[arguments.Count];
            for (int i = 0; i < arguments.Count; ++i)
            {
                string name = arguments[i].Parameter;
                int place = name == null ? i : Array.FindIndex(parameters, delegate(ParameterInfo one) { return one.Name == name; });
                bool isRest = candidate.IsExpanded && name == null && place >= last;
                if (isRest)
                    place = last;
                if (place < 0 || place > last || (isTaken[place] && !isRest))
                    return false;
                isTaken[place] = true;
                candidate.Places[i] = place;
            }
            for (int i = 0; i <= last; ++i)
            {
                if (!isTaken[i] && !parameters[i].IsOptional && !(candidate.IsExpanded && i == last))
                    return false;
            }
            return true;
        }

        private static bool Fits(Candidate candidate, int index, BoundArgument argument)
        {
            ParameterInfo parameter = candidate.Parameters[candidate.Places[index]];
            bool byReference = parameter.ParameterType.IsByRef;
            ArgumentKind wanted = !byReference ? ArgumentKind.Value : Signatures.IsOut(parameter) ? ArgumentKind.Out : ArgumentKind.Ref;
            if (argument.Kind != wanted)
                return false;
            Type type = candidate.TypeFor(index);
            if (type.IsPointer || IsBoundToTheStack(type))
                return false;
            if (argument.Kind == ArgumentKind.Out)
                return true;
            if (argument.Kind == ArgumentKind.Ref && argument.Name != null && !IsSameVariable(argument.Value, type))
                return false;
            return Conversions.Exists(argument.Value, type);
        }

        // A name may refer to whatever its object is; a number or structure must be exactly what is wanted.
        private static bool IsSameVariable(Value value, Type type)
        {
            return value.Type == null || value.Type == type || (!type.IsValueType && !value.Type.IsValueType);
        }

        // Types such as TypedReference, which reflection cannot hand over.
        private static bool IsBoundToTheStack(Type type)
        {
            return type.FullName == "System.TypedReference" || type.FullName == "System.ArgIterator" ||
                   type.FullName == "System.RuntimeArgumentHandle";
        }

        private static MethodInfo CloseGeneric(Candidate candidate, IList<BoundArgument> arguments, Type[] typeArguments)
        {
            MethodInfo definition = (MethodInfo)candidate.Method;
            int count = definition.GetGenericArguments().Length;
            Type[] types = typeArguments ?? new Inference(candidate, arguments).Types(count);
            if (types.Length != count || Array.IndexOf(types, null) >= 0)
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
    }
}
