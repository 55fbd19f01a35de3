using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Evaluates expressions on the user's instances: finds the members they name and calls them. Every method throws
    // CommandError for what cannot be done and UserCodeError for what the user's code raises.
    internal sealed class Evaluator
    {
        private const BindingFlags c_instance = BindingFlags.Public | BindingFlags.Instance;
        private const BindingFlags c_static = BindingFlags.Public | BindingFlags.Static;

        private readonly Instances m_instances;
        private readonly TypeFinder m_types;

        public Evaluator(Instances instances, TypeFinder types)
        {
            m_instances = instances;
            m_types = types;
        }

        // What a dotted name stands for: a type (for its static members) or a value.
        private struct Node
        {
            public Type Type;
            public Value Value;

            public static Node Of(Type type)
            {
                Node node = new Node();
                node.Type = type;
                return node;
            }

            public static Node Of(Value value)
            {
                Node node = new Node();
                node.Value = value;
                return node;
            }

            public Type MemberType
            {
                get { return Type ?? Value.Type; }
            }

            public object Object
            {
                get { return Type != null ? null : Value.Data; }
            }

            public BindingFlags Flags
            {
                get { return Type != null ? c_static : c_instance; }
            }
        }

        public Value Evaluate(Expression expression)
        {
            LiteralExpression literal = expression as LiteralExpression;
            if (literal != null)
                return EvaluateLiteral(literal);
            if (expression is LastResultExpression)
                return m_instances.LastResult(expression.Position);
            if (expression is NameExpression || expression is MemberExpression || expression is KeywordExpression)
                return EvaluateName(expression);
            CallExpression call = expression as CallExpression;
            if (call != null)
                return Call(call);
            IndexExpression index = expression as IndexExpression;
            if (index != null)
                return GetIndex(index);
            NewExpression creation = expression as NewExpression;
            if (creation != null)
                return Create(creation);
            NewArrayExpression newArray = expression as NewArrayExpression;
            if (newArray != null)
                return CreateArray(newArray);
            ArrayExpression array = expression as ArrayExpression;
            if (array != null)
                return Value.Array(EvaluateAll(array.Elements));
            CastExpression cast = expression as CastExpression;
            if (cast != null)
                return Conversions.Cast(Evaluate(cast.Operand), m_types.Resolve(cast.Type), cast.Position);
            UnaryExpression unary = expression as UnaryExpression;
            if (unary != null)
                return EvaluateUnary(unary);
            OrExpression or = expression as OrExpression;
            if (or != null)
                return EvaluateOr(or);
            return Value.As(m_types.Resolve(((TypeofExpression)expression).Type), typeof(Type));
        }

        // As Evaluate; but "{ ... }", which has no type of its own, becomes an array.
        public Value EvaluateWhole(Expression expression)
        {
            Value value = Evaluate(expression);
            if (value.Elements == null)
                return value;
            Type type = Conversions.NaturalArrayType(value.Elements);
            if (type == null)
                throw new CommandError(expression.Position, "the elements have no common type: write new T[] { ... }");
            return Value.Of(Conversions.Convert(value, type), type);
        }

        // Assigns to a property, a field or an indexer. Returns the value as it was assigned.
        public object Assign(Expression target, Expression source)
        {
            IndexExpression index = target as IndexExpression;
            return index != null ? SetIndex(index, source) : SetMember((MemberExpression)target, source);
        }

        // The event that "target +=" means, and the object it belongs to (null for a static event). Throws CommandError
        // with EventUnknown when there is none of that name.
        public EventInfo FindEvent(Expression target, out object source)
        {
            MemberExpression member = (MemberExpression)target;
            Node node = Resolve(member.Target);
            RequireObject(node, member.Target.Position);
            source = node.Object;
            EventInfo found = node.MemberType.GetEvent(member.Part.Name, node.Flags | BindingFlags.FlattenHierarchy);
            if (found == null)
                throw new CommandError(member.Position, ActionResult.EventUnknown,
                                       "'" + TypeNames.Show(node.MemberType) + "' has no public " + Kind(node) + " event '" +
                                           member.Part.Name + "'");
            return found;
        }

        private static string Kind(Node node)
        {
            return node.Type != null ? "static" : "instance";
        }

        private static Value EvaluateLiteral(LiteralExpression literal)
        {
            if (literal.Value == null)
                return Value.Null;
            return Value.Constant(literal.Value);
        }

        private List<Value> EvaluateAll(IList<Expression> expressions)
        {
            List<Value> values = new List<Value>();
            foreach (Expression expression in expressions)
                values.Add(Evaluate(expression));
            return values;
        }

        private Value EvaluateName(Expression expression)
        {
            Node node = Resolve(expression);
            if (node.Type != null)
                throw new CommandError(expression.Position, "'" + TypeNames.Show(node.Type) + "' is a type, not a value");
            return node.Value;
        }

        private Node Resolve(Expression expression)
        {
            KeywordExpression keyword = expression as KeywordExpression;
            if (keyword != null)
                return Node.Of(TypeNames.FromKeyword(keyword.Keyword));
            List<MemberExpression> members = new List<MemberExpression>();
            Expression root = expression;
            for (MemberExpression member = root as MemberExpression; member != null; member = root as MemberExpression)
            {
                members.Insert(0, member);
                root = member.Target;
            }
            NameExpression name = root as NameExpression;
            int used = 0;
            Node node;
            if (name == null)
                node = root is KeywordExpression ? Resolve(root) : Node.Of(Evaluate(root));
            else if (name.Assembly == null && name.Part.Arguments == null && m_instances.Has(name.Part.Name))
                node = Node.Of(m_instances.Get(name.Part.Name));
            else
                node = ResolveType(name, members, out used);
            for (int i = used; i < members.Count; ++i)
                node = Member(node, members[i]);
            return node;
        }

        // The type that a dotted name begins with; used is how many of the members are part of the type's name.
        private Node ResolveType(NameExpression name, List<MemberExpression> members, out int used)
        {
            List<NamePart> parts = new List<NamePart>();
            parts.Add(name.Part);
            foreach (MemberExpression member in members)
            {
                if (member.IsNested)
                    break;
                parts.Add(member.Part);
            }
            int count;
            Type type = m_types.FindPrefix(parts, name.Assembly, name.Position, out count);
            used = count - 1;
            if (type != null)
                return Node.Of(type);
            throw Unknown(name, parts);
        }

        private CommandError Unknown(NameExpression name, List<NamePart> parts)
        {
            // The last part is taken for a member's name, all before it for the type's.
            int typeParts = Math.Max(1, parts.Count - 1);
            if (typeParts > 1 || name.Assembly != null || name.Part.Arguments != null)
                return NoTypeEither(name, parts, typeParts);
            return NoInstance(name.Position, name.Part.Name);
        }

        // For a dotted name that begins with no instance: it can only be meant as a type.
        private CommandError NoTypeEither(NameExpression name, List<NamePart> parts, int count)
        {
            string instance = name.Assembly == null ? "there is no instance '" + name.Part.Name + "' and " : "";
            return new CommandError(name.Position, ActionResult.TypeNotFound, instance + m_types.NotFound(name.Position, parts, count).Message);
        }

        private CommandError NoInstance(int position, string name)
        {
            return new CommandError(position, "there is no instance and no type '" + name + "'" +
                                                  m_instances.Suggest(name, m_types.Suggest(name)));
        }

        private Node Member(Node node, MemberExpression member)
        {
            if (node.Type != null)
            {
                Type nested = m_types.FindNested(node.Type, member.Part);
                if (nested != null)
                    return Node.Of(nested);
            }
            if (member.IsNested || member.Part.Arguments != null)
                throw new CommandError(member.Position, ActionResult.TypeNotFound,
                                       "there is no public nested type '" + member.Part.Name + "'");
            RequireObject(node, member.Target.Position);
            MemberInfo found = Members.FindData(node.MemberType, member.Part.Name, node.Flags);
            if (found == null)
                throw NoMember(node, member);
            FieldInfo field = found as FieldInfo;
            if (field != null)
                return Node.Of(Value.Of(UserCode.GetField(field, node.Object), field.FieldType));
            PropertyInfo property = (PropertyInfo)found;
            MethodInfo getter = property.GetGetMethod();
            if (getter == null)
                throw new CommandError(member.Position, "the property '" + member.Part.Name + "' cannot be read");
            return Node.Of(Value.Of(UserCode.Invoke(getter, node.Object, new object[0]), property.PropertyType));
        }

        private static CommandError NoMember(Node node, MemberExpression member)
        {
            string name = member.Part.Name;
            string hint = Members.Hint(node.MemberType, name, node.Flags);
            return new CommandError(member.Position, "'" + TypeNames.Show(node.MemberType) + "' has no public " + Kind(node) +
                                                         " property or field '" + name + "'" + hint);
        }

        private static void RequireObject(Node node, int position)
        {
            if (node.Type != null)
                return;
            if (node.Value.Elements != null)
                throw new CommandError(position, "{ ... } has no members: write new T[] { ... }");
            if (node.Value.Data == null)
                throw new CommandError(position, "the value is null");
        }

        private Value Call(CallExpression call)
        {
            Expression target = call.Target;
            MemberExpression member = target as MemberExpression;
            NameExpression name = target as NameExpression;
            if (member != null)
                return CallMember(call, member);
            if (name != null && !(name.Assembly == null && m_instances.Has(name.Part.Name)))
                throw new CommandError(name.Position, "there is no instance '" + name.Part.Name +
                                                          "': expected name.Method(arguments)" + m_instances.Suggest(name.Part.Name, ""));
            if (target is KeywordExpression)
                throw new CommandError(target.Position, "a type is no method; 'new' makes an instance");
            return CallDelegate(call, Evaluate(target), "the call");
        }

        private Value CallMember(CallExpression call, MemberExpression member)
        {
            Node node = ResolveCallTarget(member);
            RequireObject(node, member.Target.Position);
            Type[] typeArguments = null;
            if (member.Part.Arguments != null)
                typeArguments = member.Part.Arguments.ConvertAll<Type>(m_types.Resolve).ToArray();
            List<MethodBase> group = Members.FindMethods(node.MemberType, member.Part.Name, node.Flags);
            if (group.Count > 0)
                return Invoke(group, node.Object, call.Arguments, typeArguments, member.Position, "'" + member.Part.Name + "'");
            MemberInfo data = Members.FindData(node.MemberType, member.Part.Name, node.Flags);
            if (data != null && typeArguments == null)
                return CallDelegate(call, Member(node, member).Value, "'" + member.Part.Name + "'");
            throw new CommandError(member.Position, "'" + TypeNames.Show(node.MemberType) + "' has no public " + Kind(node) +
                                                        " method '" + member.Part.Name + "'" +
                                                        Members.Hint(node.MemberType, member.Part.Name, node.Flags));
        }

        // What stands before the method's name. When that is unknown, the message has the whole name: it was meant as a
        // type.
        private Node ResolveCallTarget(MemberExpression member)
        {
            if (member.IsNested)
                throw new CommandError(member.Position, "'+' stands between a type and its nested type; a method follows '.'");
            List<NamePart> parts = new List<NamePart>();
            Expression root = member.Target;
            for (MemberExpression inner = root as MemberExpression; inner != null; inner = root as MemberExpression)
            {
                parts.Insert(0, inner.Part);
                root = inner.Target;
            }
            NameExpression name = root as NameExpression;
            if (name != null && !(name.Assembly == null && m_instances.Has(name.Part.Name)) && parts.Count > 0)
            {
                parts.Insert(0, name.Part);
                int count;
                if (m_types.FindPrefix(parts, name.Assembly, name.Position, out count) == null)
                    throw NoTypeEither(name, parts, parts.Count);
            }
            return Resolve(member.Target);
        }

        private Value CallDelegate(CallExpression call, Value value, string description)
        {
            if (!(value.Data is Delegate))
                throw new CommandError(call.Position, description + " is not a method: it is " + Conversions.Describe(value));
            List<MethodBase> group = new List<MethodBase>();
            group.Add(value.Data.GetType().GetMethod("Invoke"));
            return Invoke(group, value.Data, call.Arguments, null, call.Position, description);
        }

        private Value Invoke(List<MethodBase> group, object target, IList<Argument> arguments, Type[] typeArguments,
                             int position, string description)
        {
            List<BoundArgument> bound = Bind(arguments);
            Candidate chosen = Overloads.Choose(group, bound, typeArguments, position, description);
            object[] values = Overloads.Prepare(chosen, bound);
            MethodInfo method = (MethodInfo)chosen.Method;
            object result = UserCode.Invoke(method, target, values);
            ShowReferences(chosen, bound, values);
            return method.ReturnType == typeof(void) ? null : Value.Of(result, method.ReturnType);
        }

        private List<BoundArgument> Bind(IList<Argument> arguments)
        {
            List<BoundArgument> bound = new List<BoundArgument>();
            foreach (Argument argument in arguments)
            {
                BoundArgument one = new BoundArgument();
                one.Kind = argument.Kind;
                one.Name = argument.Name;
                if (argument.Value != null)
                    one.Value = Require(Evaluate(argument.Value), argument.Value.Position);
                bound.Add(one);
            }
            return bound;
        }

        // Throws when the value is null, which is what a call of a void method gives.
        private static Value Require(Value value, int position)
        {
            if (value == null)
                throw new CommandError(position, "the method returns nothing");
            return value;
        }

        // Prints what the ref and out arguments hold after the call, and keeps it under the argument's name if it has
        // one.
        private void ShowReferences(Candidate chosen, IList<BoundArgument> bound, object[] values)
        {
            for (int i = 0; i < bound.Count; ++i)
            {
                if (bound[i].Kind == ArgumentKind.Value)
                    continue;
                Type type = chosen.TypeFor(i);
                string word = bound[i].Kind == ArgumentKind.Ref ? "ref " : "out ";
                string name = bound[i].Name ?? chosen.Parameters[i].Name;
                Output.Line(word + name + " = " + Formatter.ShowTyped(values[i], type));
                if (bound[i].Name != null)
                    m_instances.Replace(bound[i].Name, Value.Of(values[i], type));
            }
        }

        private Value Create(NewExpression creation)
        {
            Type type = m_types.Resolve(creation.Type);
            string reason = WhyNotCreatable(type);
            if (reason != null)
                throw new CommandError(creation.Type.Position, "'" + TypeNames.Show(type) + "' " + reason);
            List<BoundArgument> bound = Bind(creation.Arguments);
            // A structure can always be made without arguments, but reflection lists no such constructor.
            if (type.IsValueType && bound.Count == 0 && type.GetConstructor(Type.EmptyTypes) == null)
                return Value.Of(Activator.CreateInstance(type), type);
            List<MethodBase> constructors = new List<MethodBase>();
            foreach (ConstructorInfo constructor in type.GetConstructors(c_instance))
                constructors.Add(constructor);
            if (constructors.Count == 0)
                throw new CommandError(creation.Type.Position, "'" + TypeNames.Show(type) + "' has no public constructor");
            Candidate chosen = Overloads.Choose(constructors, bound, null, creation.Type.Position,
                                                "'" + TypeNames.Show(type) + "'");
            object[] values = Overloads.Prepare(chosen, bound);
            object made = UserCode.Invoke(chosen.Method, null, values);
            ShowReferences(chosen, bound, values);
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
            if (type.ContainsGenericParameters)
                return "needs its type arguments";
            return typeof(Delegate).IsAssignableFrom(type) ? "is a delegate, which a command cannot make" : null;
        }

        private Value CreateArray(NewArrayExpression creation)
        {
            Type type = m_types.Resolve(creation.Type);
            if (creation.Elements != null)
            {
                Value elements = Value.Array(EvaluateAll(creation.Elements.Elements));
                if (!Conversions.Exists(elements, type))
                    throw new CommandError(creation.Elements.Position, "the elements do not make a '" + TypeNames.Show(type) + "'");
                return Value.Of(Conversions.Convert(elements, type), type);
            }
            int[] sizes = new int[creation.Sizes.Count];
            for (int i = 0; i < sizes.Length; ++i)
            {
                sizes[i] = ArrayNumber(creation.Sizes[i]);
                if (sizes[i] < 0)
                    throw new CommandError(creation.Sizes[i].Position, "an array's size cannot be negative");
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

        private int ArrayNumber(Expression expression)
        {
            Value value = Require(Evaluate(expression), expression.Position);
            if (!Conversions.Exists(value, typeof(int)))
                throw new CommandError(expression.Position, "expected an int, not " + Conversions.Describe(value));
            return (int)Conversions.Convert(value, typeof(int));
        }

        private Value GetIndex(IndexExpression index)
        {
            Node node = IndexTarget(index);
            Array array = node.Object as Array;
            if (array != null)
                return Value.Of(ReadElement(array, index), array.GetType().GetElementType());
            List<MethodBase> getters = Members.FindIndexers(node.MemberType, false);
            if (getters.Count == 0)
                throw new CommandError(index.Position, "'" + TypeNames.Show(node.MemberType) + "' has no indexer to read");
            return Invoke(getters, node.Object, index.Arguments, null, index.Position, "the indexer");
        }

        private object SetIndex(IndexExpression index, Expression source)
        {
            Node node = IndexTarget(index);
            Array array = node.Object as Array;
            if (array != null)
            {
                int[] at = ArrayIndices(array, index);
                object element = ConvertTo(array.GetType().GetElementType(), source);
                array.SetValue(element, at);
                return element;
            }
            List<MethodBase> setters = Members.FindIndexers(node.MemberType, true);
            if (setters.Count == 0)
                throw new CommandError(index.Position, "'" + TypeNames.Show(node.MemberType) + "' has no indexer to set");
            List<BoundArgument> bound = Bind(index.Arguments);
            BoundArgument last = new BoundArgument();
            last.Value = Require(Evaluate(source), source.Position);
            bound.Add(last);
            Candidate chosen = Overloads.Choose(setters, bound, null, index.Position, "the indexer");
            object[] values = Overloads.Prepare(chosen, bound);
            UserCode.Invoke(chosen.Method, node.Object, values);
            return values[values.Length - 1];
        }

        private Node IndexTarget(IndexExpression index)
        {
            Node node = Resolve(index.Target);
            if (node.Type != null)
                throw new CommandError(index.Target.Position, "'" + TypeNames.Show(node.Type) + "' is a type, not a value");
            RequireObject(node, index.Target.Position);
            return node;
        }

        private object ReadElement(Array array, IndexExpression index)
        {
            return array.GetValue(ArrayIndices(array, index));
        }

        private int[] ArrayIndices(Array array, IndexExpression index)
        {
            if (index.Arguments.Count != array.Rank)
                throw new CommandError(index.Position, "the array has " + array.Rank + " dimensions");
            int[] at = new int[array.Rank];
            for (int i = 0; i < at.Length; ++i)
            {
                Argument argument = index.Arguments[i];
                if (argument.Kind != ArgumentKind.Value)
                    throw new CommandError(argument.Position, "an array's index is a plain number");
                at[i] = ArrayNumber(argument.Value);
                if (at[i] < array.GetLowerBound(i) || at[i] > array.GetUpperBound(i))
                    throw new CommandError(argument.Position, "the index is outside " + array.GetLowerBound(i) + " to " +
                                                                  array.GetUpperBound(i));
            }
            return at;
        }

        private object SetMember(MemberExpression member, Expression source)
        {
            Node node = Resolve(member.Target);
            RequireObject(node, member.Target.Position);
            if (node.Type == null && node.MemberType.IsValueType && !(member.Target is NameExpression))
                throw new CommandError(member.Position, "the change would be lost: '" + TypeNames.Show(node.MemberType) +
                                                            "' is a structure, and this is a copy of it");
            MemberInfo found = Members.FindData(node.MemberType, member.Part.Name, node.Flags);
            if (found == null)
                throw NoMember(node, member);
            FieldInfo field = found as FieldInfo;
            if (field != null)
            {
                if (field.IsInitOnly || field.IsLiteral)
                    throw new CommandError(member.Position, "the field '" + member.Part.Name + "' cannot be changed");
                object content = ConvertTo(field.FieldType, source);
                UserCode.SetField(field, node.Object, content);
                return content;
            }
            PropertyInfo property = (PropertyInfo)found;
            MethodInfo setter = property.GetSetMethod();
            if (setter == null)
                throw new CommandError(member.Position, "the property '" + member.Part.Name + "' cannot be set");
            object value = ConvertTo(property.PropertyType, source);
            UserCode.Invoke(setter, node.Object, new object[] { value });
            return value;
        }

        private object ConvertTo(Type type, Expression source)
        {
            Value value = Require(Evaluate(source), source.Position);
            if (!Conversions.Exists(value, type))
                throw new CommandError(source.Position, "cannot convert " + Conversions.Describe(value) + " to '" +
                                                            TypeNames.Show(type) + "'");
            return Conversions.Convert(value, type);
        }

        private Value EvaluateUnary(UnaryExpression unary)
        {
            Value operand = Require(Evaluate(unary.Operand), unary.Operand.Position);
            object result = Operators.Unary(unary.Operator, operand.Data);
            if (result == null)
                throw new CommandError(unary.Position, "'" + unary.Operator + "' does not apply to " + Conversions.Describe(operand));
            return operand.IsConstant ? Value.Constant(result) : Value.Of(result, null);
        }

        private Value EvaluateOr(OrExpression or)
        {
            Value left = Require(Evaluate(or.Left), or.Left.Position);
            Value right = Require(Evaluate(or.Right), or.Right.Position);
            if (left.Data != null && right.Data != null && left.Type == right.Type)
            {
                if (left.Type.IsEnum)
                    return Value.Of(Enum.ToObject(left.Type, Operators.Bits(left.Data) | Operators.Bits(right.Data)), left.Type);
                if (left.Data is bool)
                    return Value.Of((bool)left.Data | (bool)right.Data, typeof(bool));
                if (left.Data is int)
                {
                    int joined = (int)left.Data | (int)right.Data;
                    return left.IsConstant && right.IsConstant ? Value.Constant(joined) : Value.Of(joined, typeof(int));
                }
            }
            throw new CommandError(or.Position, "'|' joins two values of one enumeration, two ints or two bools, not " +
                                                    Conversions.Describe(left) + " and " + Conversions.Describe(right));
        }
    }
}
