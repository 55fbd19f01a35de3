using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What operators give back. Those of numbers, bools and enumerations are carried out, on any value of the type where
    // it is not known; of those of a class the declaration counts.
    internal sealed partial class StaticTypes
    {
        private Node OfUnary(UnaryExpression unary)
        {
            Value operand = OperandOf(unary.Operand);
            if (operand == null)
                return null;
            if (!IsBuiltIn(operand.Type))
                return ValueOf(DeclaredBy(operand.Type, Operators.NameOf(unary.Operator), 1));
            Value result = Operators.Unary(unary.Operator, operand);
            return result == null ? null : Node.Of(result);
        }

        private Node OfOr(OrExpression or)
        {
            Value left = OperandOf(or.Left);
            Value right = OperandOf(or.Right);
            if (left == null || right == null)
                return null;
            if (!IsBuiltIn(left.Type) || !IsBuiltIn(right.Type))
                return ValueOf(DeclaredBy(left.Type, Operators.NameOfOr, 2) ?? DeclaredBy(right.Type, Operators.NameOfOr, 2));
            Value result = Operators.Or(Known(left), Known(right));
            return result == null ? null : Node.Of(result);
        }

        // Null for what is no value with a type.
        private Value OperandOf(Expression operand)
        {
            Node node = Of(operand);
            return node == null || node.Type != null || node.Value.Type == null ? null : node.Value;
        }

        private static bool IsBuiltIn(Type type)
        {
            Type plain = Nullable.GetUnderlyingType(type) ?? type;
            return plain == typeof(bool) || NumericConversions.IsNumberLike(plain);
        }

        private static Value Known(Value value)
        {
            return value.Data != null || !value.Type.IsValueType ? value : Value.As(Activator.CreateInstance(value.Type), value.Type);
        }

        // What the operator gives back; null when the type declares none.
        private static Type DeclaredBy(Type type, string name, int count)
        {
            for (Type level = Nullable.GetUnderlyingType(type) ?? type; level != null; level = level.BaseType)
            {
                foreach (MethodInfo method in level.GetMethods(Node.StaticMembers | BindingFlags.DeclaredOnly))
                {
                    if (method.Name == name && method.IsSpecialName && method.GetParameters().Length == count)
                        return method.ReturnType;
                }
            }
            return null;
        }
    }
}
