using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Finds the type arguments of a generic method from the arguments of a call.
    internal sealed class Inference
    {
        private readonly Candidate m_candidate;
        private readonly IList<BoundArgument> m_arguments;
        private Type[] m_types;

        // The candidate's method is not closed yet.
        public Inference(Candidate candidate, IList<BoundArgument> arguments)
        {
            m_candidate = candidate;
            m_arguments = arguments;
        }

        // Null for each type that does not follow.
        public Type[] Types(int count)
        {
            m_types = new Type[count];
            for (int i = 0; i < m_arguments.Count; ++i)
            {
                if (m_arguments[i].Value != null)
                    FromValue(m_candidate.TypeFor(i), m_arguments[i].Value);
            }
            // What a method gives back follows once it is known what it takes; that may tell what another one takes.
            for (int round = 0; round < count; ++round)
            {
                for (int i = 0; i < m_arguments.Count; ++i)
                {
                    if (m_arguments[i].Value != null && m_arguments[i].Value.Methods != null)
                        FromMethods(m_candidate.TypeFor(i), m_arguments[i].Value.Methods);
                }
            }
            return m_types;
        }

        private void FromValue(Type parameter, Value value)
        {
            if (value.Elements != null)
            {
                Type natural = ElementConversions.NaturalArrayType(value.Elements);
                if (natural != null)
                    FromType(parameter, natural);
            }
            else if (value.Type != null)
                FromType(parameter, value.Type);
        }

        private void FromType(Type parameter, Type argument)
        {
            if (parameter.IsGenericParameter)
            {
                if (parameter.DeclaringMethod == null)
                    return;
                int index = parameter.GenericParameterPosition;
                if (m_types[index] == null || Conversions.ExistsStandard(m_types[index], argument))
                    m_types[index] = argument;
            }
            else if (parameter.IsArray && argument.IsArray && parameter.GetArrayRank() == argument.GetArrayRank())
                FromType(parameter.GetElementType(), argument.GetElementType());
            else if (parameter.IsGenericType && parameter.ContainsGenericParameters)
                FromGeneric(parameter, argument);
        }

        private void FromGeneric(Type parameter, Type argument)
        {
            Type match = MatchOf(parameter.GetGenericTypeDefinition(), argument);
            if (match == null)
                return;
            Type[] wanted = parameter.GetGenericArguments();
            Type[] given = match.GetGenericArguments();
            for (int i = 0; i < wanted.Length; ++i)
                FromType(wanted[i], given[i]);
        }

        // The argument's type, base class or interface of that generic kind; null when there is none, or several
        // interfaces.
        private static Type MatchOf(Type definition, Type argument)
        {
            for (Type type = argument; type != null; type = type.BaseType)
            {
                if (type.IsGenericType && type.GetGenericTypeDefinition() == definition)
                    return type;
            }
            if (definition == typeof(Nullable<>) && argument.IsValueType)
                return definition.MakeGenericType(argument);
            Type match = null;
            foreach (Type type in argument.GetInterfaces())
            {
                if (!type.IsGenericType || type.GetGenericTypeDefinition() != definition)
                    continue;
                if (match != null)
                    return null;
                match = type;
            }
            return match;
        }

        private void FromMethods(Type parameter, MethodGroup methods)
        {
            MethodInfo shape = MethodGroup.ShapeOf(parameter);
            if (shape == null)
                return;
            ParameterInfo[] parameters = shape.GetParameters();
            Type[] taken = new Type[parameters.Length];
            for (int i = 0; i < taken.Length; ++i)
            {
                taken[i] = Filled(parameters[i].ParameterType);
                if (taken[i] == null)
                    return;
            }
            Type given = methods.ReturnTypeFor(taken);
            if (given != null && given != typeof(void))
                FromType(shape.ReturnType, given);
        }

        // The type with what is known filled in; null when something in it is not known.
        private Type Filled(Type type)
        {
            if (type.IsGenericParameter)
                return type.DeclaringMethod == null ? type : m_types[type.GenericParameterPosition];
            if (!type.ContainsGenericParameters)
                return type;
            if (type.HasElementType)
            {
                Type element = Filled(type.GetElementType());
                return element == null ? null
                       : type.IsByRef ? element.MakeByRefType()
                       : type.GetArrayRank() == 1 ? element.MakeArrayType() : element.MakeArrayType(type.GetArrayRank());
            }
            Type[] arguments = Array.ConvertAll<Type, Type>(type.GetGenericArguments(), Filled);
            return Array.IndexOf(arguments, null) >= 0 ? null : type.GetGenericTypeDefinition().MakeGenericType(arguments);
        }
    }
}
