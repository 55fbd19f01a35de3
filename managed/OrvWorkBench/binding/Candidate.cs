using System;
using System.Reflection;

namespace OrvWorkBench
{
    // A method or an indexer that a call may mean, and how the arguments go to its parameters.
    internal sealed class Candidate
    {
        public MethodBase Method;
        // Null for a method. Of an indexer, Method is one of the accessors.
        public PropertyInfo Indexer;
        public ParameterInfo[] Parameters;
        // The last parameter is "params" and gets all the remaining arguments as one array.
        public bool IsExpanded;
        public bool WasGeneric;
        // Which parameter each argument goes to.
        public int[] Places;

        public static Candidate Of(MethodBase method)
        {
            Candidate candidate = new Candidate();
            candidate.Method = method;
            candidate.Parameters = method.GetParameters();
            candidate.WasGeneric = method.IsGenericMethodDefinition;
            return candidate;
        }

        public static Candidate Of(PropertyInfo indexer)
        {
            Candidate candidate = new Candidate();
            candidate.Method = indexer.GetGetMethod(true) ?? indexer.GetSetMethod(true);
            candidate.Indexer = indexer;
            candidate.Parameters = indexer.GetIndexParameters();
            return candidate;
        }

        public Candidate Copy()
        {
            return (Candidate)MemberwiseClone();
        }

        // Whether the argument is one of those that the last parameter gets in its array.
        public bool IsInRest(int argument)
        {
            return IsExpanded && Places[argument] == Parameters.Length - 1;
        }

        // The type that the argument at that index is converted to; for a by-reference parameter, the type it refers
        // to.
        public Type TypeFor(int argument)
        {
            return TypeFor(argument, Parameters);
        }

        // The same in the parameters as they are declared.
        public Type TypeFor(int argument, ParameterInfo[] parameters)
        {
            Type type = parameters[Places[argument]].ParameterType;
            return type.IsByRef || (IsInRest(argument) && type.IsArray) ? type.GetElementType() : type;
        }

        // The parameters as they stand in the source, before any type argument is filled in.
        public ParameterInfo[] Declared
        {
            get
            {
                MethodBase method = Method;
                MethodInfo function = method as MethodInfo;
                if (function != null && function.IsGenericMethod)
                    method = function.GetGenericMethodDefinition();
                Type holder = method.DeclaringType;
                if (!holder.IsGenericType)
                    return Indexer != null ? Parameters : method.GetParameters();
                const BindingFlags flags = BindingFlags.Public | BindingFlags.NonPublic | BindingFlags.Instance | BindingFlags.Static |
                                           BindingFlags.DeclaredOnly;
                foreach (MemberInfo member in holder.GetGenericTypeDefinition().GetMembers(flags))
                {
                    MethodBase declared = member as MethodBase;
                    if (declared != null && declared.MetadataToken == method.MetadataToken)
                        return declared.GetParameters();
                }
                return Parameters;
            }
        }
    }
}
