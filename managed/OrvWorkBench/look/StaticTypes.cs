using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What an expression stands for, without running anything: instances and what their fields hold are looked at, of all
    // else the declared type counts. A value that is not known has no data.
    internal sealed partial class StaticTypes
    {
        private readonly Instances m_instances;
        private readonly TypeFinder m_types;

        public StaticTypes(Instances instances, TypeFinder types)
        {
            m_instances = instances;
            m_types = types;
        }

        // Null for what is no type and no value with members, or not to be told. Throws CommandError for types that
        // there are not.
        public Node Of(Expression expression)
        {
            Node node = OfAny(expression);
            return node == null || IsOwn(node) ? null : node;
        }

        private static bool IsOwn(Node node)
        {
            if (node.Type != null)
                return Assemblies.IsOwn(node.Type.Assembly) && node.Type != typeof(Look);
            Type type = node.Value.Type;
            return Assemblies.IsOwn(node.Value.Data) || (type != null && Assemblies.IsOwn(type.Assembly));
        }

        private Node OfAny(Expression expression)
        {
            LiteralExpression literal = expression as LiteralExpression;
            if (literal != null)
                return Node.Of(literal.Value == null ? Value.Null : Value.Constant(literal.Value));
            if (expression is LastResultExpression)
                return Node.Of(m_instances.LastResult(expression.Position));
            CutValueExpression cut = expression as CutValueExpression;
            if (cut != null)
                return Node.Of(m_instances.CutValue(cut.Name, cut.Position));
            KeywordExpression keyword = expression as KeywordExpression;
            if (keyword != null)
                return Node.Of(TypeNames.FromKeyword(keyword.Keyword));
            NameExpression name = expression as NameExpression;
            if (name != null)
                return OfName(name, new List<NamePart>());
            MemberExpression member = expression as MemberExpression;
            if (member != null)
                return OfMember(member);
            CallExpression call = expression as CallExpression;
            if (call != null)
                return OfCall(call);
            IndexExpression index = expression as IndexExpression;
            return index != null ? OfElement(index) : OfMade(expression);
        }

        private Node OfMade(Expression expression)
        {
            NewExpression creation = expression as NewExpression;
            if (creation != null)
                return ValueOf(m_types.Resolve(creation.Type));
            NewArrayExpression array = expression as NewArrayExpression;
            if (array != null)
                return array.Type != null ? ValueOf(m_types.Resolve(array.Type)) : ValueOf(NaturalType(array.Elements));
            ArrayExpression elements = expression as ArrayExpression;
            if (elements != null)
                return ElementsOf(elements);
            CastExpression cast = expression as CastExpression;
            if (cast != null)
                return ValueOf(m_types.Resolve(cast.Type));
            UnaryExpression unary = expression as UnaryExpression;
            if (unary != null)
                return OfUnary(unary);
            OrExpression or = expression as OrExpression;
            if (or != null)
                return OfOr(or);
            TypeofExpression asked = expression as TypeofExpression;
            return asked == null ? null : Node.Of(Value.As(m_types.Resolve(asked.Type), typeof(Type)));
        }

        private Type NaturalType(ArrayExpression elements)
        {
            Node node = ElementsOf(elements);
            return node == null ? null : ElementConversions.NaturalArrayType(node.Value.Elements);
        }

        // Null when one of them is not known.
        private Node ElementsOf(ArrayExpression elements)
        {
            List<Value> values = new List<Value>();
            foreach (Expression element in elements.Elements)
            {
                Node node = Of(element);
                if (node == null || node.Type != null)
                    return null;
                values.Add(node.Value);
            }
            return Node.Of(Value.Array(values));
        }

        // Null without a type.
        private static Node ValueOf(Type type)
        {
            return type == null || type == typeof(void) ? null : Node.Of(Value.As(null, type));
        }

        private Node OfMember(MemberExpression last)
        {
            List<MemberExpression> members = new List<MemberExpression>();
            Expression root = last;
            for (MemberExpression member = last; member != null; member = root as MemberExpression)
            {
                members.Insert(0, member);
                root = member.Target;
            }
            NameExpression name = root as NameExpression;
            int used = 0;
            Node node = name == null ? Of(root) : OfName(name, PartsOf(members), out used);
            for (int i = used; i < members.Count && node != null; ++i)
                node = IsOwn(node) ? null : MemberOf(node, members[i]);
            return node;
        }

        private static List<NamePart> PartsOf(List<MemberExpression> members)
        {
            List<NamePart> parts = new List<NamePart>();
            foreach (MemberExpression member in members)
            {
                if (member.IsNested)
                    break;
                parts.Add(member.Part);
            }
            return parts;
        }

        private Node OfName(NameExpression name, List<NamePart> rest)
        {
            int used;
            return OfName(name, rest, out used);
        }

        // used is how many of the parts behind the name belong to the type's name.
        private Node OfName(NameExpression name, List<NamePart> rest, out int used)
        {
            used = 0;
            if (name.Assembly == null && name.Part.Arguments == null && m_instances.Has(name.Part.Name))
                return Node.Of(m_instances.Get(name.Part.Name));
            rest.Insert(0, name.Part);
            int count;
            Type type = m_types.FindPrefix(rest, name.Assembly, name.Position, out count);
            used = count - 1;
            return type == null ? null : Node.Of(type);
        }

        private Node MemberOf(Node node, MemberExpression member)
        {
            if (node.Type != null)
            {
                Type nested = m_types.FindNested(node.Type, member.Part);
                if (nested != null)
                    return Node.Of(nested);
            }
            if (member.IsNested || node.MemberType == null)
                return null;
            MemberInfo found = member.Part.Arguments != null ? null : Members.FindData(node.MemberType, member.Part.Name, node.Flags);
            FieldInfo field = found as FieldInfo;
            if (field != null)
                return FieldOf(node, field);
            PropertyInfo property = found as PropertyInfo;
            return property == null ? null : ValueOf(property.PropertyType);
        }

        // Reading the field of an object runs nothing; that of a class may run its static constructor.
        private static Node FieldOf(Node node, FieldInfo field)
        {
            object data = null;
            if (!field.IsStatic && node.Object != null)
                Guard.Run(delegate() { data = field.GetValue(node.Object); });
            return data == null ? ValueOf(field.FieldType) : Node.Of(Value.Of(data, field.FieldType));
        }

        private Type[] TypesOf(NamePart part)
        {
            return part.Arguments == null ? null : part.Arguments.ConvertAll<Type>(m_types.Resolve).ToArray();
        }
    }
}
