using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Evaluates expressions on the user's instances: finds the members they name and calls them. Every method throws
    // CommandError for what cannot be done and UserCodeError for what the user's code raises.
    internal sealed partial class Evaluator
    {
        private readonly Instances m_instances;
        private readonly TypeFinder m_types;

        public Evaluator(Instances instances, TypeFinder types)
        {
            m_instances = instances;
            m_types = types;
        }

        // Null when it is the call of a method that returns nothing.
        public Value Evaluate(Expression expression)
        {
            Value value = EvaluateAny(expression);
            RequireForeign(value, expression.Position);
            return value;
        }

        private Value EvaluateAny(Expression expression)
        {
            LiteralExpression literal = expression as LiteralExpression;
            if (literal != null)
                return literal.Value == null ? Value.Null : Value.Constant(literal.Value);
            if (expression is LastResultExpression)
                return m_instances.LastResult(expression.Position);
            CutValueExpression cut = expression as CutValueExpression;
            if (cut != null)
                return m_instances.CutValue(cut.Name, cut.Position);
            if (expression is NameExpression || expression is MemberExpression || expression is KeywordExpression)
                return ValueOf(Resolve(expression, false), expression.Position);
            CallExpression call = expression as CallExpression;
            if (call != null)
                return Call(call);
            IndexExpression index = expression as IndexExpression;
            if (index != null)
                return Element(index).Value;
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
                return Cast(cast);
            UnaryExpression unary = expression as UnaryExpression;
            if (unary != null)
                return EvaluateUnary(unary);
            OrExpression or = expression as OrExpression;
            if (or != null)
                return EvaluateOr(or);
            return Value.As(m_types.Resolve(((TypeofExpression)expression).Type), typeof(Type));
        }

        // As Evaluate, for where a delegate may be wanted: a method's name may stand there too. Never null.
        private Value EvaluateOperand(Expression expression)
        {
            if (!(expression is MemberExpression))
                return Require(Evaluate(expression), expression.Position);
            Value value = ValueOf(Resolve(expression, true), expression.Position);
            RequireForeign(value, expression.Position);
            return value;
        }

        // What somebody wants to look at: the type that the expression names, and then no value, or its value.
        public Value Subject(Expression expression, out Type type)
        {
            type = null;
            if (!(expression is NameExpression) && !(expression is MemberExpression) && !(expression is KeywordExpression))
                return EvaluateOperand(expression);
            Node node = Resolve(expression, false);
            type = node.Type;
            if (type != null)
                return null;
            RequireForeign(Require(node.Value, expression.Position), expression.Position);
            return node.Value;
        }

        // Keeps the dispatcher's own types and objects out of reach, whoever gives them.
        private static void RequireForeign(Value value, int position)
        {
            if (value != null)
                RequireForeign(value.Data, position);
        }

        private static void RequireForeign(object data, int position)
        {
            if (Assemblies.IsOwn(data))
                throw new CommandError(position, "this belongs to the dispatcher, which commands cannot reach");
        }

        private List<Value> EvaluateAll(IList<Expression> expressions)
        {
            List<Value> values = new List<Value>();
            foreach (Expression expression in expressions)
                values.Add(EvaluateOperand(expression));
            return values;
        }

        private static Value ValueOf(Node node, int position)
        {
            if (node.Type != null)
                throw new CommandError(position, "'" + TypeNames.Show(node.Type) + "' is a type, not a value");
            return node.Value;
        }

        // Throws when the value is null, which is what a call of a void method gives.
        private static Value Require(Value value, int position)
        {
            if (value == null)
                throw new CommandError(position, "the method returns nothing");
            return value;
        }

        private object ConvertTo(Type type, Expression source)
        {
            Value value = EvaluateOperand(source);
            if (!Conversions.Exists(value, type))
                throw new CommandError(source.Position, "cannot convert " + Conversions.Describe(value) + " to '" +
                                                            TypeNames.Show(type) + "'");
            return Conversions.Convert(value, type);
        }

        private Value Cast(CastExpression cast)
        {
            Type type = m_types.Resolve(cast.Type);
            return Conversions.Cast(EvaluateOperand(cast.Operand), type, cast.Position);
        }

        private Value EvaluateUnary(UnaryExpression unary)
        {
            Value operand = Require(Evaluate(unary.Operand), unary.Operand.Position);
            Value result = Operators.Unary(unary.Operator, operand);
            if (result == null)
                throw new CommandError(unary.Position, "'" + unary.Operator + "' does not apply to " + Conversions.Describe(operand));
            return result;
        }

        private Value EvaluateOr(OrExpression or)
        {
            Value left = Require(Evaluate(or.Left), or.Left.Position);
            Value right = Require(Evaluate(or.Right), or.Right.Position);
            Value joined = Operators.Or(left, right);
            if (joined == null)
                throw new CommandError(or.Position, "'|' joins two values of one enumeration, two integers or two bools, not " +
                                                        Conversions.Describe(left) + " and " + Conversions.Describe(right));
            return joined;
        }
    }
}
