using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What calls and indexers give back.
    internal sealed partial class StaticTypes
    {
        // Whether the members are there and C# would choose one overload of each call, as far as can be told.
        public bool Binds(Expression expression)
        {
            NewExpression creation = expression as NewExpression;
            if (creation != null)
            {
                Type type = m_types.Resolve(creation.Type);
                List<Candidate> constructors = new List<Candidate>();
                foreach (ConstructorInfo constructor in type.GetConstructors(Node.InstanceMembers))
                    constructors.Add(Candidate.Of(constructor));
                return Choose(constructors, creation.Arguments, null) != null;
            }
            CallExpression call = expression as CallExpression;
            MemberExpression member = call == null ? null : call.Target as MemberExpression;
            return member == null ? Of(expression) != null : Chosen(call, member) != null;
        }

        private Candidate Chosen(CallExpression call, MemberExpression member)
        {
            Node target = Of(member.Target);
            if (target == null || target.MemberType == null)
                return null;
            List<MethodBase> methods = Members.FindMethods(target.MemberType, member.Part.Name, target.Flags);
            return Choose(methods.ConvertAll<Candidate>(Candidate.Of), call.Arguments, TypesOf(member.Part));
        }

        private Node OfCall(CallExpression call)
        {
            MemberExpression member = call.Target as MemberExpression;
            if (member == null)
                return CallOf(Of(call.Target));
            Node target = Of(member.Target);
            if (target == null || target.MemberType == null)
                return null;
            List<MethodBase> methods = Members.FindMethods(target.MemberType, member.Part.Name, target.Flags);
            if (methods.Count == 0)
                return CallOf(MemberOf(target, member));
            List<Candidate> group = methods.ConvertAll<Candidate>(Candidate.Of);
            Type[] typeArguments = TypesOf(member.Part);
            Candidate chosen = Choose(group, call.Arguments, typeArguments);
            if (typeArguments != null)
                group = Closed(methods, typeArguments);
            return chosen != null ? ValueOf(((MethodInfo)chosen.Method).ReturnType) : CommonOf(group, call.Arguments.Count);
        }

        // Those of the generic methods that take such type arguments.
        private static List<Candidate> Closed(List<MethodBase> methods, Type[] typeArguments)
        {
            List<Candidate> closed = new List<Candidate>();
            foreach (MethodInfo method in methods)
            {
                if (method.IsGenericMethodDefinition && method.GetGenericArguments().Length == typeArguments.Length)
                    Guard.Run(delegate() { closed.Add(Candidate.Of(method.MakeGenericMethod(typeArguments))); });
            }
            return closed;
        }

        // The call of a delegate.
        private static Node CallOf(Node node)
        {
            MethodInfo shape = node == null || node.MemberType == null || node.Type != null ? null : MethodGroup.ShapeOf(node.MemberType);
            return shape == null ? null : ValueOf(shape.ReturnType);
        }

        private Node OfElement(IndexExpression index)
        {
            Node target = Of(index.Target);
            if (target == null || target.Type != null || target.MemberType == null)
                return null;
            if (target.MemberType.IsArray)
                return ElementOf(target, index.Arguments);
            List<Candidate> group = Members.FindIndexers(target.MemberType).ConvertAll<Candidate>(Candidate.Of);
            Candidate chosen = Choose(group, index.Arguments, null);
            return chosen != null ? ValueOf(chosen.Indexer.PropertyType) : CommonOf(group, index.Arguments.Count);
        }

        // An element that is there counts as its own type.
        private static Node ElementOf(Node target, List<Argument> arguments)
        {
            Type type = target.MemberType.GetElementType();
            Array array = target.Object as Array;
            int[] at = array == null ? null : Places(array, arguments);
            object data = at == null ? null : array.GetValue(at);
            return data == null ? ValueOf(type) : Node.Of(Value.Of(data, type));
        }

        // Null when they are no literal numbers within the array.
        private static int[] Places(Array array, List<Argument> arguments)
        {
            int[] at = new int[arguments.Count];
            for (int i = 0; i < at.Length; ++i)
            {
                LiteralExpression literal = arguments[i].Value as LiteralExpression;
                if (literal == null || !(literal.Value is int) || at.Length != array.Rank)
                    return null;
                at[i] = (int)literal.Value;
                if (at[i] < array.GetLowerBound(i) || at[i] > array.GetUpperBound(i))
                    return null;
            }
            return at;
        }

        // The overload that C# would choose; null when an argument is not known or none fits.
        private Candidate Choose(List<Candidate> group, List<Argument> arguments, Type[] typeArguments)
        {
            List<BoundArgument> bound = new List<BoundArgument>();
            foreach (Argument argument in arguments)
            {
                Node node = argument.Value == null ? null : Of(argument.Value);
                if (argument.Value != null && (node == null || node.Type != null))
                    return null;
                BoundArgument one = BoundArgument.Of(node == null ? null : node.Value);
                one.Kind = argument.Kind;
                one.Parameter = argument.Parameter;
                one.Name = argument.Name;
                bound.Add(one);
            }
            return Overloads.TryChoose(group, bound, typeArguments);
        }

        // What all of them give back, else what all give back that take so many arguments.
        private static Node CommonOf(List<Candidate> group, int count)
        {
            Type type = CommonType(group);
            return ValueOf(type ?? CommonType(group.FindAll(delegate(Candidate one) { return one.Parameters.Length == count; })));
        }

        private static Type CommonType(List<Candidate> group)
        {
            Type common = null;
            foreach (Candidate one in group)
            {
                Type type = one.Indexer != null ? one.Indexer.PropertyType : ((MethodInfo)one.Method).ReturnType;
                if (common != null && common != type)
                    return null;
                common = type;
            }
            return common;
        }
    }
}
