using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The conversion operators that classes define.
    internal static class UserConversions
    {
        // The operator that converts the one type to the other, as C# chooses; null when there is none, or no single best
        // one. For a cast, explicit operators count too.
        public static MethodInfo Find(Type source, Type target, bool isCast)
        {
            Type plainSource = Nullable.GetUnderlyingType(source) ?? source;
            Type plainTarget = Nullable.GetUnderlyingType(target) ?? target;
            if (IsPlain(plainSource) && IsPlain(plainTarget))
                return null;
            List<MethodInfo> fitting = new List<MethodInfo>();
            foreach (MethodInfo operation in OperatorsOf(plainSource, plainTarget, isCast))
            {
                if (Fits(operation, source, target, isCast) || Fits(operation, plainSource, plainTarget, isCast) && IsLifted(source, target, isCast))
                    fitting.Add(operation);
            }
            Type from = Best(fitting.ConvertAll<Type>(Taken), plainSource, true);
            Type to = Best(fitting.ConvertAll<Type>(Given), plainTarget, false);
            List<MethodInfo> best = fitting.FindAll(delegate(MethodInfo one) { return Taken(one) == from && Given(one) == to; });
            return best.Count == 1 ? best[0] : null;
        }

        // Carries out the conversion by an operator that Find gave.
        public static object Apply(MethodInfo operation, Value value, Type target, int position)
        {
            Type taken = Taken(operation);
            if (value.Data == null && taken.IsValueType && Nullable.GetUnderlyingType(taken) == null)
            {
                if (target.IsValueType && Nullable.GetUnderlyingType(target) == null)
                    throw new CommandError(position, "the value is null, which '" + TypeNames.Show(target) + "' cannot be");
                return null;
            }
            object argument = Conversions.Cast(value, taken, position).Data;
            object result = UserCode.Invoke(operation, null, new object[] { argument });
            return Conversions.Cast(Value.As(result, Given(operation)), target, position).Data;
        }

        private static Type Taken(MethodInfo operation)
        {
            return operation.GetParameters()[0].ParameterType;
        }

        private static Type Given(MethodInfo operation)
        {
            return operation.ReturnType;
        }

        // Between these the language has its own conversions only.
        private static bool IsPlain(Type type)
        {
            return type.IsPrimitive || type.IsEnum || type == typeof(string) || type == typeof(object) || type.IsInterface || type.IsArray;
        }

        private static bool IsLifted(Type source, Type target, bool isCast)
        {
            return Nullable.GetUnderlyingType(target) != null || Nullable.GetUnderlyingType(source) == null || isCast;
        }

        private static IEnumerable<MethodInfo> OperatorsOf(Type source, Type target, bool isCast)
        {
            const BindingFlags flags = BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly;
            List<Type> seen = new List<Type>();
            foreach (Type start in new Type[] { source, target })
            {
                for (Type type = start; type != null; type = type.BaseType)
                {
                    // The base classes of the target count for a cast only.
                    if (seen.Contains(type) || (start == target && type != target && !isCast))
                        continue;
                    seen.Add(type);
                    foreach (MethodInfo method in type.GetMethods(flags))
                    {
                        bool isOperator = method.Name == "op_Implicit" || (isCast && method.Name == "op_Explicit");
                        if (isOperator && method.IsSpecialName && method.GetParameters().Length == 1)
                            yield return method;
                    }
                }
            }
        }

        private static bool Fits(MethodInfo operation, Type source, Type target, bool isCast)
        {
            return IsWithin(source, Taken(operation), isCast) && IsWithin(Given(operation), target, isCast);
        }

        private static bool IsWithin(Type inner, Type outer, bool mayBeReverse)
        {
            return Conversions.ExistsStandard(inner, outer) ||
                   (mayBeReverse && Conversions.ExistsStandard(outer, inner));
        }

        // The type itself if it is among them; else the nearest one that holds all of it, else the nearest that lies in it.
        // What an operator takes has to hold the source; what it gives has to lie in the target.
        private static Type Best(List<Type> types, Type wanted, bool isTaken)
        {
            if (types.Contains(wanted))
                return wanted;
            List<Type> wider = types.FindAll(delegate(Type type) { return Conversions.ExistsStandard(wanted, type); });
            List<Type> narrower = types.FindAll(delegate(Type type) { return Conversions.ExistsStandard(type, wanted); });
            if (isTaken)
                return wider.Count > 0 ? Extreme(wider, false) : Extreme(narrower.Count > 0 ? narrower : types, true);
            return narrower.Count > 0 ? Extreme(narrower, true) : Extreme(wider.Count > 0 ? wider : types, false);
        }

        // The one type that holds all the others, or that lies in all of them; null when there is none.
        private static Type Extreme(List<Type> types, bool isWidest)
        {
            return types.Find(delegate(Type type) {
                return types.TrueForAll(delegate(Type other) {
                    return isWidest ? Conversions.ExistsStandard(other, type) : Conversions.ExistsStandard(type, other);
                });
            });
        }
    }
}
