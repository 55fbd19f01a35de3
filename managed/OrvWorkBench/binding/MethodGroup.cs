using System;
using System.Collections.Generic;
using System.Reflection;
using System.Runtime.CompilerServices;

namespace OrvWorkBench
{
    // A method's name that is not called: it becomes a delegate where one is wanted.
    internal sealed class MethodGroup
    {
        private readonly List<MethodBase> m_methods;
        // Null for static methods.
        private readonly object m_target;
        // Null when they follow from the delegate.
        private readonly Type[] m_typeArguments;
        private readonly string m_name;

        public MethodGroup(string name, List<MethodBase> methods, object target, Type[] typeArguments)
        {
            m_name = name;
            m_methods = methods;
            m_target = target;
            m_typeArguments = typeArguments;
        }

        public string Name
        {
            get { return m_name; }
        }

        // The delegate of that type for the method that C# would choose; null when there is none, or when the type is no
        // delegate's.
        public Delegate Make(Type type)
        {
            MethodInfo shape = ShapeOf(type);
            MethodInfo chosen = shape == null ? null : Choose(Array.ConvertAll<ParameterInfo, Type>(shape.GetParameters(), TypeOf));
            if (chosen == null || !GivesBack(chosen.ReturnType, shape.ReturnType))
                return null;
            // A structure is copied into the delegate.
            object target = m_target == null ? null : RuntimeHelpers.GetObjectValue(m_target);
            Delegate made = null;
            Guard.Run(delegate() { made = Delegate.CreateDelegate(type, target, chosen, false); });
            return made;
        }

        // What comes back from the method that takes these types; null when there is none.
        public Type ReturnTypeFor(Type[] parameterTypes)
        {
            MethodInfo chosen = Choose(parameterTypes);
            return chosen == null ? null : chosen.ReturnType;
        }

        // The method by which a delegate type is called; null for any other type.
        public static MethodInfo ShapeOf(Type type)
        {
            return typeof(Delegate).IsAssignableFrom(type) && !type.IsAbstract ? type.GetMethod("Invoke") : null;
        }

        private static bool GivesBack(Type given, Type wanted)
        {
            return given == wanted || (!given.IsValueType && !wanted.IsValueType && wanted.IsAssignableFrom(given));
        }

        private static Type TypeOf(ParameterInfo parameter)
        {
            return parameter.ParameterType;
        }

        private MethodInfo Choose(Type[] parameterTypes)
        {
            List<BoundArgument> arguments = new List<BoundArgument>();
            foreach (Type type in parameterTypes)
            {
                BoundArgument argument = BoundArgument.Of(Value.As(null, type.IsByRef ? type.GetElementType() : type));
                argument.Kind = type.IsByRef ? ArgumentKind.Ref : ArgumentKind.Value;
                arguments.Add(argument);
            }
            Candidate chosen = Overloads.TryChoose(m_methods.ConvertAll<Candidate>(Candidate.Of), arguments, m_typeArguments);
            // A delegate hands its parameters on one by one.
            return chosen == null || chosen.IsExpanded || chosen.Parameters.Length != parameterTypes.Length
                       ? null
                       : (MethodInfo)chosen.Method;
        }
    }
}
