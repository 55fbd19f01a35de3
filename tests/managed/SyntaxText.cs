using System.Collections.Generic;
using System.Text;
using OrvWorkBench;

namespace OrvTest
{
    // A parsed command as text, every node in parentheses.
    internal static class SyntaxText
    {
        public static string Of(ValueCommand command)
        {
            return (command.Name == null ? "" : command.Name + " = ") + Of(command.Value);
        }

        public static string Of(SetCommand command)
        {
            return Of(command.Target) + " " + command.Operator + " " + Of(command.Value);
        }

        public static string Of(Expression expression)
        {
            LiteralExpression literal = expression as LiteralExpression;
            if (literal != null)
                return literal.Value == null ? "null" : Formatter.ShowTyped(literal.Value, null);
            if (expression is LastResultExpression)
                return "$";
            if (expression is CutValueExpression)
                return ((CutValueExpression)expression).Name;
            NameExpression name = expression as NameExpression;
            if (name != null)
                return (name.Assembly == null ? "" : "[" + name.Assembly + "]") + Of(name.Part);
            KeywordExpression keyword = expression as KeywordExpression;
            if (keyword != null)
                return "<" + keyword.Keyword + ">";
            MemberExpression member = expression as MemberExpression;
            if (member != null)
                return "(" + Of(member.Target) + (member.IsNested ? "+" : ".") + Of(member.Part) + ")";
            CallExpression call = expression as CallExpression;
            if (call != null)
                return "(call " + Of(call.Target) + Of(call.Arguments) + ")";
            IndexExpression index = expression as IndexExpression;
            if (index != null)
                return "(index " + Of(index.Target) + Of(index.Arguments) + ")";
            NewExpression creation = expression as NewExpression;
            if (creation != null)
                return "(new " + Of(creation.Type) + Of(creation.Arguments) + (creation.Initializer == null ? "" : " " + Of(creation.Initializer)) + ")";
            NewArrayExpression newArray = expression as NewArrayExpression;
            if (newArray != null)
                return "(new " + (newArray.Type == null ? "[]" : Of(newArray.Type)) + (newArray.Sizes != null ? Sizes(newArray) : "") +
                       (newArray.Elements != null ? " " + Of(newArray.Elements) : "") + ")";
            ArrayExpression array = expression as ArrayExpression;
            if (array != null)
                return "{" + Of(array.Elements) + "}";
            CastExpression cast = expression as CastExpression;
            if (cast != null)
                return "(cast " + Of(cast.Type) + " " + Of(cast.Operand) + ")";
            UnaryExpression unary = expression as UnaryExpression;
            if (unary != null)
                return "(" + unary.Operator + " " + Of(unary.Operand) + ")";
            OrExpression or = expression as OrExpression;
            if (or != null)
                return "(" + Of(or.Left) + " | " + Of(or.Right) + ")";
            return "(typeof " + Of(((TypeofExpression)expression).Type) + ")";
        }

        private static string Of(Initializer initializer)
        {
            List<string> parts = new List<string>();
            if (initializer.Members != null)
            {
                foreach (MemberInitializer member in initializer.Members)
                    parts.Add(member.Name + " := " + (member.Content != null ? Of(member.Content) : Of(member.Value)));
            }
            else
            {
                foreach (List<Expression> element in initializer.Elements)
                    parts.Add("add " + Of(element));
            }
            return "<" + string.Join("; ", parts.ToArray()) + ">";
        }

        private static string Sizes(NewArrayExpression array)
        {
            return " sizes " + Of(array.Sizes);
        }

        private static string Of(List<Expression> expressions)
        {
            StringBuilder text = new StringBuilder();
            foreach (Expression expression in expressions)
                text.Append(text.Length > 0 ? ", " : "").Append(Of(expression));
            return text.ToString();
        }

        private static string Of(List<Argument> arguments)
        {
            StringBuilder text = new StringBuilder();
            foreach (Argument argument in arguments)
            {
                text.Append(' ');
                if (argument.Parameter != null)
                    text.Append(argument.Parameter).Append('@');
                if (argument.Kind != ArgumentKind.Value)
                    text.Append(argument.Kind == ArgumentKind.Ref ? "ref:" : "out:").Append(argument.Name ?? "-").Append(':');
                if (argument.Value != null)
                    text.Append(Of(argument.Value));
            }
            return text.ToString();
        }

        private static string Of(NamePart part)
        {
            return part.Name + (part.Arguments == null ? "" : Of(part.Arguments));
        }

        private static string Of(List<TypeSyntax> types)
        {
            StringBuilder text = new StringBuilder("<");
            foreach (TypeSyntax type in types)
                text.Append(text.Length > 1 ? ", " : "").Append(Of(type));
            return text.Append('>').ToString();
        }

        private static string Of(TypeSyntax type)
        {
            StringBuilder text = new StringBuilder();
            if (type.Assembly != null)
                text.Append('[').Append(type.Assembly).Append(']');
            text.Append(type.Keyword);
            for (int i = 0; i < type.Parts.Count; ++i)
                text.Append(i > 0 ? "." : "").Append(Of(type.Parts[i]));
            if (type.Nullable)
                text.Append('?');
            foreach (int rank in type.Ranks)
                text.Append('[').Append(',', rank - 1).Append(']');
            return text.ToString();
        }
    }
}
