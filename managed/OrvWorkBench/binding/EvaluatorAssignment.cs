using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Indexers and arrays' elements, and what is assigned to.
    internal sealed partial class Evaluator
    {
        // Assigns to a property, a field or an indexer. Returns the value as it was assigned.
        public object Assign(Expression target, Expression source)
        {
            IndexExpression index = target as IndexExpression;
            if (index != null)
                return SetElement(index, source);
            MemberExpression member = (MemberExpression)target;
            Node node = ResolveTarget(member);
            RequireObject(node, member.Target.Position);
            if (node.IsCopy)
                throw Lost(node, member.Position);
            return SetData(node, member.Part.Name, member.Position, source);
        }

        // The event that "target +=" means, and the object it belongs to (null for a static event). Throws CommandError
        // with EventUnknown when there is none of that name.
        public EventInfo FindEvent(Expression target, out object source)
        {
            MemberExpression member = (MemberExpression)target;
            Node node = ResolveTarget(member);
            RequireObject(node, member.Target.Position);
            source = node.Object;
            EventInfo found = Members.FindData(node.MemberType, member.Part.Name, node.Flags | BindingFlags.FlattenHierarchy) as EventInfo;
            if (found == null)
                throw new CommandError(member.Position, ActionResult.EventUnknown,
                                       "'" + TypeNames.Show(node.MemberType) + "' has no public " + node.Kind + " event '" +
                                           member.Part.Name + "'");
            return found;
        }

        private static CommandError Lost(Node node, int position)
        {
            return new CommandError(position, "the change would be lost: '" + TypeNames.Show(node.MemberType) +
                                                  "' is a structure, and this is a copy of it");
        }

        private object SetData(Node node, string name, int position, Expression source)
        {
            MemberInfo found = Members.FindData(node.MemberType, name, node.Flags);
            FieldInfo field = found as FieldInfo;
            PropertyInfo property = found as PropertyInfo;
            if (field == null && property == null)
                throw NoMember(node, name, position);
            if (field != null && (field.IsInitOnly || field.IsLiteral))
                throw new CommandError(position, "the field '" + name + "' cannot be changed");
            MethodInfo setter = field != null ? null : Members.Accessor(property, true);
            if (field == null && setter == null)
                throw new CommandError(position, "the property '" + name + "' cannot be set");
            object value = ConvertTo(field != null ? field.FieldType : property.PropertyType, source);
            if (field == null)
                Run(setter, node, new object[] { value });
            else
            {
                LastCommand.Target = node.Object;
                UserCode.SetField(field, node.Object, value);
                node.Changed();
            }
            return value;
        }

        private Node IndexTarget(IndexExpression index)
        {
            Node node = Resolve(index.Target);
            if (node.Type != null)
                throw new CommandError(index.Target.Position, "'" + TypeNames.Show(node.Type) + "' is a type, not a value");
            RequireObject(node, index.Target.Position);
            return node;
        }

        private Node Element(IndexExpression index)
        {
            Node node = IndexTarget(index);
            if (node.MemberType.IsArray)
            {
                Array array = (Array)node.Object;
                int[] at = ArrayIndices(array, index);
                LastCommand.Target = array;
                Type type = array.GetType().GetElementType();
                Node element = Node.Of(Value.Of(array.GetValue(at), type));
                if (type.IsValueType)
                    element.Variable = new Variable(array, at);
                return element;
            }
            List<BoundArgument> bound = Bind(index.Arguments);
            Candidate chosen = ChooseIndexer(node, index, bound, "read");
            MethodInfo getter = Members.Accessor(chosen.Indexer, false);
            if (getter == null)
                throw new CommandError(index.Position, "the indexer cannot be read");
            object result = Run(getter, node, Overloads.Prepare(chosen, bound));
            return Node.Of(Value.Of(result, chosen.Indexer.PropertyType));
        }

        private object SetElement(IndexExpression index, Expression source)
        {
            Node node = IndexTarget(index);
            if (node.MemberType.IsArray)
            {
                Array array = (Array)node.Object;
                int[] at = ArrayIndices(array, index);
                object element = ConvertTo(array.GetType().GetElementType(), source);
                LastCommand.Target = array;
                array.SetValue(element, at);
                return element;
            }
            if (node.IsCopy)
                throw Lost(node, index.Position);
            List<BoundArgument> bound = Bind(index.Arguments);
            Candidate chosen = ChooseIndexer(node, index, bound, "set");
            MethodInfo setter = Members.Accessor(chosen.Indexer, true);
            if (setter == null)
                throw new CommandError(index.Position, "the indexer cannot be set");
            List<object> values = new List<object>(Overloads.Prepare(chosen, bound));
            object value = ConvertTo(chosen.Indexer.PropertyType, source);
            values.Add(value);
            Run(setter, node, values.ToArray());
            return value;
        }

        private static Candidate ChooseIndexer(Node node, IndexExpression index, List<BoundArgument> bound, string purpose)
        {
            List<PropertyInfo> indexers = Members.FindIndexers(node.MemberType);
            if (indexers.Count == 0)
                throw new CommandError(index.Position, "'" + TypeNames.Show(node.MemberType) + "' has no indexer to " + purpose);
            return Overloads.Choose(indexers.ConvertAll<Candidate>(Candidate.Of), bound, null, index.Position, "the indexer");
        }

        private int[] ArrayIndices(Array array, IndexExpression index)
        {
            if (index.Arguments.Count != array.Rank)
                throw new CommandError(index.Position, "the array has " + array.Rank + " dimensions");
            int[] at = new int[array.Rank];
            for (int i = 0; i < at.Length; ++i)
            {
                Argument argument = index.Arguments[i];
                if (argument.Kind != ArgumentKind.Value || argument.Parameter != null)
                    throw new CommandError(argument.Position, "an array's index is a plain number");
                long number = ArrayNumber(argument.Value);
                if (number < array.GetLowerBound(i) || number > array.GetUpperBound(i))
                    throw new CommandError(argument.Position, "the index is outside " + array.GetLowerBound(i) + " to " +
                                                                  array.GetUpperBound(i));
                at[i] = (int)number;
            }
            return at;
        }
    }
}
