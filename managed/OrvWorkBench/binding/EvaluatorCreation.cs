using System;
using System.Collections;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What "new" makes: objects with what fills them, delegates, arrays.
    internal sealed partial class Evaluator
    {
        private Value Create(NewExpression creation)
        {
            Type type = m_types.Resolve(creation.Type);
            string reason = WhyNotCreatable(type);
            if (reason != null)
                throw new CommandError(creation.Type.Position, "'" + TypeNames.Show(type) + "' " + reason);
            if (typeof(Delegate).IsAssignableFrom(type))
                return CreateDelegate(creation, type);
            Value made = Construct(creation, type);
            if (creation.Initializer != null)
                Fill(Node.Owner(made), creation.Initializer);
            return made;
        }

        private Value Construct(NewExpression creation, Type type)
        {
            List<BoundArgument> bound = Bind(creation.Arguments);
            // A structure can always be made without arguments, but reflection lists no such constructor.
            if (type.IsValueType && bound.Count == 0 && type.GetConstructor(Type.EmptyTypes) == null)
                return Value.Of(Activator.CreateInstance(type), type);
            List<Candidate> constructors = new List<Candidate>();
            foreach (ConstructorInfo constructor in type.GetConstructors(Node.InstanceMembers))
                constructors.Add(Candidate.Of(constructor));
            if (constructors.Count == 0)
                throw new CommandError(creation.Type.Position, "'" + TypeNames.Show(type) + "' has no public constructor");
            Candidate chosen = Overloads.Choose(constructors, bound, null, creation.Type.Position,
                                                "'" + TypeNames.Show(type) + "'");
            object[] values = Overloads.Prepare(chosen, bound);
            LastCommand.Target = null;
            object made = UserCode.Invoke(chosen.Method, null, values);
            ShowReferences(chosen, bound, values, creation.Position);
            return Value.Of(made, type);
        }

        private static string WhyNotCreatable(Type type)
        {
            if (type.IsInterface)
                return "is an interface";
            if (type.IsAbstract && type.IsSealed)
                return "is a static class";
            if (type.IsAbstract)
                return "is abstract";
            return type.ContainsGenericParameters ? "needs its type arguments" : null;
        }

        private Value CreateDelegate(NewExpression creation, Type type)
        {
            List<BoundArgument> bound = Bind(creation.Arguments);
            if (bound.Count != 1 || creation.Initializer != null || bound[0].Parameter != null || bound[0].Value == null)
                throw new CommandError(creation.Type.Position, "'" + TypeNames.Show(type) +
                                                                   "' is a delegate: it is made of one method, such as new " +
                                                                   TypeNames.Show(type) + "(x.Method)");
            Value source = bound[0].Value;
            Delegate other = source.Data as Delegate;
            Delegate made = source.Methods != null ? source.Methods.Make(type)
                            : other == null        ? null
                                                   : Delegate.CreateDelegate(type, other, MethodGroup.ShapeOf(other.GetType()), false);
            if (made == null)
                throw new CommandError(creation.Arguments[0].Position, "cannot convert " + Conversions.Describe(source) + " to '" +
                                                                           TypeNames.Show(type) + "'");
            return Value.Of(made, type);
        }

        // Carries out what stands in braces behind a new object.
        private void Fill(Node node, Initializer initializer)
        {
            RequireObject(node, initializer.Position);
            if (initializer.Members != null)
                FillMembers(node, initializer.Members);
            else
                FillElements(node, initializer);
        }

        private void FillMembers(Node node, List<MemberInitializer> members)
        {
            for (int i = 0; i < members.Count; ++i)
            {
                MemberInitializer member = members[i];
                if (members.FindIndex(delegate(MemberInitializer one) { return one.Name == member.Name; }) < i)
                    throw new CommandError(member.Position, "the member '" + member.Name + "' is set twice");
                if (member.Content == null)
                {
                    SetData(node, member.Name, member.Position, member.Value);
                    continue;
                }
                MemberInfo found = Members.FindData(node.MemberType, member.Name, node.Flags);
                Node inner = Read(node, found, member.Name, member.Position);
                if (inner.IsCopy)
                    throw Lost(inner, member.Position);
                Fill(inner, member.Content);
            }
        }

        private void FillElements(Node node, Initializer initializer)
        {
            List<MethodBase> adders = Members.FindMethods(node.MemberType, "Add", Node.InstanceMembers);
            if (!typeof(IEnumerable).IsAssignableFrom(node.MemberType) || adders.Count == 0)
                throw new CommandError(initializer.Position, "'" + TypeNames.Show(node.MemberType) +
                                                                 "' is no collection that elements can be added to");
            List<Candidate> group = adders.ConvertAll<Candidate>(Candidate.Of);
            foreach (List<Expression> element in initializer.Elements)
            {
                List<Argument> arguments = element.ConvertAll<Argument>(delegate(Expression value) {
                    Argument argument = new Argument();
                    argument.Position = value.Position;
                    argument.Value = value;
                    return argument;
                });
                Invoke(group, node, arguments, null, element[0].Position, "'Add'");
            }
        }

        private Value CreateArray(NewArrayExpression creation)
        {
            Value elements = creation.Elements == null ? null : Value.Array(EvaluateAll(creation.Elements.Elements));
            Type type = creation.Type == null ? ElementConversions.NaturalArrayType(elements.Elements) : m_types.Resolve(creation.Type);
            if (type == null)
                throw new CommandError(creation.Elements.Position, "the elements have no common type: write new T[] { ... }");
            if (creation.Sizes == null)
                return FromElements(creation, type, elements);
            int[] sizes = new int[creation.Sizes.Count];
            for (int i = 0; i < sizes.Length; ++i)
                sizes[i] = ArraySize(creation.Sizes[i]);
            if (elements != null)
            {
                Array made = (Array)FromElements(creation, type, elements).Data;
                for (int i = 0; i < sizes.Length; ++i)
                {
                    if (made.GetUpperBound(i) + 1 != sizes[i])
                        throw new CommandError(creation.Sizes[i].Position, "there are " + (made.GetUpperBound(i) + 1) + " elements");
                }
                return Value.Of(made, type);
            }
            try
            {
                return Value.Of(Array.CreateInstance(type.GetElementType(), sizes), type);
            }
            catch (OutOfMemoryException)
            {
                throw new CommandError(creation.Position, "there is not enough memory for the array");
            }
            catch (OverflowException)
            {
                throw new CommandError(creation.Position, "the array is too large");
            }
        }

        private static Value FromElements(NewArrayExpression creation, Type type, Value elements)
        {
            if (!Conversions.Exists(elements, type))
                throw new CommandError(creation.Elements.Position, "the elements do not make a '" + TypeNames.Show(type) + "'");
            return Value.Of(Conversions.Convert(elements, type), type);
        }

        private int ArraySize(Expression expression)
        {
            long size = ArrayNumber(expression);
            if (size < 0)
                throw new CommandError(expression.Position, "an array's size cannot be negative");
            if (size > int.MaxValue)
                throw new CommandError(expression.Position, "the array is too large");
            return (int)size;
        }

        // A size or an index: any integer, as in C#. One that only ulong holds counts as the greatest.
        private long ArrayNumber(Expression expression)
        {
            Value value = Require(Evaluate(expression), expression.Position);
            if (Conversions.Exists(value, typeof(long)))
                return (long)Conversions.Convert(value, typeof(long));
            if (!Conversions.Exists(value, typeof(ulong)))
                throw new CommandError(expression.Position, "expected an int, not " + Conversions.Describe(value));
            ulong number = (ulong)Conversions.Convert(value, typeof(ulong));
            return number > long.MaxValue ? long.MaxValue : (long)number;
        }
    }
}
