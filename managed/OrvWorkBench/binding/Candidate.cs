using System;
using System.Reflection;

namespace OrvWorkBench
{
    // A method that a call may mean, and how the arguments go to its parameters.
    internal sealed class Candidate
    {
        public MethodBase Method;
        public ParameterInfo[] Parameters;
        // The last parameter is "params" and gets all the remaining arguments as one array.
        public bool IsExpanded;
        public bool WasGeneric;

        // The type that the argument at that index is converted to; for a by-reference parameter, the type it refers
        // to.
        public Type TypeFor(int argument)
        {
            if (IsExpanded && argument >= Parameters.Length - 1)
                return Parameters[Parameters.Length - 1].ParameterType.GetElementType();
            Type type = Parameters[argument].ParameterType;
            return type.IsByRef ? type.GetElementType() : type;
        }
    }
}
