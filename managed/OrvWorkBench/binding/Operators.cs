using System;
using System.Collections.Generic;
using System.Globalization;
using System.Reflection;

namespace OrvWorkBench
{
    // The operators of C# that a command may use.
    internal static class Operators
    {
        public const string NameOfOr = "op_BitwiseOr";

        // The operation is one of - + ! ~. Returns null where it does not apply.
        public static Value Unary(char operation, Value operand)
        {
            if (operand.Type == null)
                return null;
            Type plain = Nullable.GetUnderlyingType(operand.Type) ?? operand.Type;
            bool isOwn = plain == typeof(bool) || NumericConversions.IsNumberLike(plain);
            return isOwn ? Plain(operation, plain, operand) : ByOperator(NameOf(operation), plain, operand);
        }

        // The name of the method that a class declares for it.
        public static string NameOf(char operation)
        {
            return operation == '-' ? "op_UnaryNegation" : operation == '+' ? "op_UnaryPlus"
                 : operation == '!' ? "op_LogicalNot" : "op_OnesComplement";
        }

        private static Value Plain(char operation, Type plain, Value operand)
        {
            // What the operator gives for a null depends on the type alone.
            object sample = operand.Data ?? Activator.CreateInstance(plain);
            object result = operation == '!' ? (sample is bool ? (object)!(bool)sample : null) : OnNumber(operation, sample, operand.IsConstant);
            if (result == null)
                return null;
            if (plain != operand.Type)
                return Value.As(operand.Data == null ? null : result, typeof(Nullable<>).MakeGenericType(result.GetType()));
            return operand.IsConstant ? Value.Constant(result) : Value.As(result, result.GetType());
        }

        private static object OnNumber(char operation, object data, bool isConstant)
        {
            if (data is Enum)
                return operation == '~' ? Enum.ToObject(data.GetType(), ~Bits(data)) : null;
            if (data is sbyte || data is byte || data is short || data is ushort || data is char)
                data = data is char ? (char)data : System.Convert.ToInt32(data, CultureInfo.InvariantCulture);
            switch (operation)
            {
            case '~':
                return Complement(data);
            case '-':
                return Negate(data, isConstant);
            default:
                return Numbers.IsNumeric(data.GetType()) ? data : null;
            }
        }

        private static object Complement(object data)
        {
            if (data is int)
                return ~(int)data;
            if (data is uint)
                return ~(uint)data;
            if (data is long)
                return ~(long)data;
            if (data is ulong)
                return ~(ulong)data;
            return null;
        }

        private static object Negate(object data, bool isConstant)
        {
            // A constant must fit, as in C#.
            if (data is int)
                return isConstant && (int)data == int.MinValue ? null : (object)unchecked(-(int)data);
            if (data is uint)
                return -(long)(uint)data;
            if (data is long)
                return isConstant && (long)data == long.MinValue ? null : (object)unchecked(-(long)data);
            if (data is float)
                return -(float)data;
            if (data is double)
                return -(double)data;
            if (data is decimal)
                return -(decimal)data;
            return null;
        }

        // left | right. Returns null where it does not apply.
        public static Value Or(Value left, Value right)
        {
            if (left.Type == null || right.Type == null)
                return null;
            Type plain = Nullable.GetUnderlyingType(left.Type) ?? left.Type;
            Type other = Nullable.GetUnderlyingType(right.Type) ?? right.Type;
            // null has its own rules for bool; a command has no need of them.
            bool isNullable = plain != left.Type || other != right.Type;
            if (isNullable)
                return null;
            if (plain.IsEnum && (other == plain || NumericConversions.ExistsConstant(right, plain)))
                return Value.Of(Enum.ToObject(plain, Bits(left.Data) | BitsOf(right.Data)), plain);
            if (other.IsEnum && NumericConversions.ExistsConstant(left, other))
                return Value.Of(right.Data, other);
            if (plain == typeof(bool) && other == plain)
                return Value.Of((bool)left.Data | (bool)right.Data, plain);
            Type wide = WideOf(left, right);
            if (wide != null)
                return Joined(left, right, wide);
            return ByOperator(NameOfOr, plain, left, right) ?? (other == plain ? null : ByOperator(NameOfOr, other, left, right));
        }

        // The type in which C# joins the bits of two numbers: the first to which both convert; null when there is none.
        private static Type WideOf(Value left, Value right)
        {
            if (!NumericConversions.IsNumberLike(left.Type) || !NumericConversions.IsNumberLike(right.Type))
                return null;
            foreach (Type type in new Type[] { typeof(int), typeof(uint), typeof(long), typeof(ulong) })
            {
                if (Conversions.Exists(left, type) && Conversions.Exists(right, type))
                    return type;
            }
            return null;
        }

        private static Value Joined(Value left, Value right, Type type)
        {
            object one = Conversions.Convert(left, type);
            object two = Conversions.Convert(right, type);
            object joined = type == typeof(int)    ? (object)((int)one | (int)two)
                          : type == typeof(uint)   ? (object)((uint)one | (uint)two)
                          : type == typeof(long)   ? (object)((long)one | (long)two)
                                                   : (object)((ulong)one | (ulong)two);
            return left.IsConstant && right.IsConstant ? Value.Constant(joined) : Value.As(joined, type);
        }

        // By an operator that the class, or one of its base classes, defines; null when none fits.
        private static Value ByOperator(string name, Type holder, params Value[] operands)
        {
            const BindingFlags flags = BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly;
            List<BoundArgument> arguments = new List<BoundArgument>();
            foreach (Value operand in operands)
                arguments.Add(BoundArgument.Of(operand));
            for (Type type = holder; type != null; type = type.BaseType)
            {
                List<Candidate> group = new List<Candidate>();
                foreach (MethodInfo method in type.GetMethods(flags))
                {
                    if (method.Name == name && method.IsSpecialName && method.GetParameters().Length == operands.Length)
                        group.Add(Candidate.Of(method));
                }
                Candidate chosen = Overloads.TryChoose(group, arguments, null);
                if (chosen == null)
                    continue;
                MethodInfo operation = (MethodInfo)chosen.Method;
                object result = UserCode.Invoke(operation, null, Overloads.Prepare(chosen, arguments));
                return Value.Of(result, operation.ReturnType);
            }
            return null;
        }

        private static ulong BitsOf(object value)
        {
            return value is Enum ? Bits(value) : System.Convert.ToUInt64(value, CultureInfo.InvariantCulture);
        }

        // The bits of an enumeration's value.
        private static ulong Bits(object value)
        {
            Type underlying = Enum.GetUnderlyingType(value.GetType());
            if (underlying == typeof(ulong))
                return System.Convert.ToUInt64(value, CultureInfo.InvariantCulture);
            return unchecked((ulong)System.Convert.ToInt64(value, CultureInfo.InvariantCulture));
        }
    }
}
