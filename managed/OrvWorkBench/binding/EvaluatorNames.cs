using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Dotted names: which part names an instance or a type, and what each member is.
    internal sealed partial class Evaluator
    {
        private Node Resolve(Expression expression)
        {
            return Resolve(expression, false);
        }

        // With mayBeMethods, the last member may be a method that is not called.
        private Node Resolve(Expression expression, bool mayBeMethods)
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
            int used;
            Node node = ResolveRoot(root, members, out used);
            for (int i = used; i < members.Count; ++i)
                node = Member(node, members[i], mayBeMethods && i == members.Count - 1);
            return node;
        }

        // What the name begins with; used is how many of the members are part of it.
        private Node ResolveRoot(Expression root, List<MemberExpression> members, out int used)
        {
            used = 0;
            NameExpression name = root as NameExpression;
            if (name != null)
                return IsInstance(name) ? Node.Owner(m_instances.Get(name.Part.Name)) : ResolveType(name, members, out used);
            if (root is KeywordExpression)
                return Resolve(root);
            IndexExpression index = root as IndexExpression;
            if (index != null)
                return Element(index);
            return Node.Of(Require(Evaluate(root), root.Position));
        }

        private bool IsInstance(NameExpression name)
        {
            return name.Assembly == null && name.Part.Arguments == null && m_instances.Has(name.Part.Name);
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
            return new CommandError(name.Position, ActionResult.TypeNotFound,
                                    instance + m_types.NotFound(name.Position, name.Assembly, parts, count).Message);
        }

        private CommandError NoInstance(int position, string name)
        {
            return new CommandError(position, "there is no instance and no type '" + name + "'" +
                                                  m_instances.Suggest(name, m_types.Suggest(name)));
        }

        private Node Member(Node node, MemberExpression member, bool mayBeMethods)
        {
            if (node.Type != null)
            {
                Type nested = m_types.FindNested(node.Type, member.Part);
                if (nested != null)
                    return Node.Of(nested);
            }
            if (member.IsNested || (member.Part.Arguments != null && !mayBeMethods))
                throw new CommandError(member.Position, ActionResult.TypeNotFound,
                                       "there is no public nested type '" + member.Part.Name + "'");
            RequireObject(node, member.Target.Position);
            MemberInfo found = member.Part.Arguments != null ? null : Members.FindData(node.MemberType, member.Part.Name, node.Flags);
            if (found == null && mayBeMethods && !Nullables.IsNullable(node.MemberType))
            {
                List<MethodBase> methods = Members.FindMethods(node.MemberType, member.Part.Name, node.Flags);
                if (methods.Count > 0)
                    return Node.Of(Value.Group(new MethodGroup(member.Part.Name, methods, node.Object, TypeArguments(member.Part))));
            }
            return Read(node, found, member.Part.Name, member.Position);
        }

        private Type[] TypeArguments(NamePart part)
        {
            return part.Arguments == null ? null : part.Arguments.ConvertAll<Type>(m_types.Resolve).ToArray();
        }

        // The value of a property or field of that name, which was found or is null.
        private static Node Read(Node node, MemberInfo found, string name, int position)
        {
            FieldInfo field = found as FieldInfo;
            if (field != null)
                return ReadField(node, field);
            PropertyInfo property = found as PropertyInfo;
            if (property == null)
                throw NoMember(node, name, position);
            MethodInfo getter = Members.Accessor(property, false);
            if (getter == null)
                throw new CommandError(position, "the property '" + name + "' cannot be read");
            return Node.Of(Value.Of(Run(getter, node, new object[0]), property.PropertyType));
        }

        private static Node ReadField(Node node, FieldInfo field)
        {
            LastCommand.Target = node.Object;
            object data = UserCode.GetField(field, node.Object);
            // A constant converts as a number in the text does.
            if (field.IsLiteral && data != null && field.FieldType.IsPrimitive)
                return Node.Of(Value.Constant(data));
            Node read = Node.Of(Value.Of(data, field.FieldType));
            if (field.FieldType.IsValueType && !field.IsInitOnly && !field.IsLiteral && !node.IsCopy)
                read.Variable = new Variable(node, field);
            return read;
        }

        private static CommandError NoMember(Node node, string name, int position)
        {
            string hint = Members.Hint(node.MemberType, name, node.Flags);
            return new CommandError(position, "'" + TypeNames.Show(node.MemberType) + "' has no public " + node.Kind +
                                                  " property or field '" + name + "'" + hint);
        }

        private static void RequireObject(Node node, int position)
        {
            if (node.Type != null)
                return;
            RequireForeign(node.Value, position);
            if (node.Value.Elements != null)
                throw new CommandError(position, "{ ... } has no members: write new T[] { ... }");
            if (node.Value.Data == null && (node.Value.Type == null || !Nullables.IsNullable(node.Value.Type)))
                throw new CommandError(position, "the value is null");
        }

        // Runs a method or accessor of what the node stands for.
        private static object Run(MethodInfo method, Node node, object[] arguments)
        {
            LastCommand.Target = node.Object;
            if (node.Type == null && Nullables.IsNullable(node.MemberType) && !method.IsStatic)
                return Nullables.Call(method, node.MemberType, node.Object, arguments);
            object target = node.Object;
            if (node.IsCopy)
                target = System.Runtime.CompilerServices.RuntimeHelpers.GetObjectValue(target);
            object result = UserCode.Invoke(method, target, arguments);
            node.Changed();
            return result;
        }
    }
}
