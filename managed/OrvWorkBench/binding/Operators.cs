using System;
using System.Globalization;

namespace OrvWorkBench
{
    // The operators of C# that a command may use, carried out on values of any type.
    internal static class Operators
    {
        // The operation is one of - + ! ~. Returns null where it does not apply.
        public static object Unary(char operation, object data)
        {
            if (operation == '!')
                return data is bool ? (object)!(bool)data : null;
            if (data is sbyte || data is byte || data is short || data is ushort || data is char)
                data = data is char ? (char)data : System.Convert.ToInt32(data, CultureInfo.InvariantCulture);
            switch (operation)
            {
            case '~':
                return Complement(data);
            case '-':
                return Negate(data);
            default:
                return data != null && Numbers.IsNumeric(data.GetType()) ? data : null;
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

        private static object Negate(object data)
        {
            if (data is int)
                return unchecked(-(int)data);
            // The digits of -2147483648 and -9223372036854775808 alone fit only the unsigned type.
            if (data is uint)
                return (uint)data == 2147483648U ? (object)int.MinValue : -(long)(uint)data;
            if (data is long)
                return unchecked(-(long)data);
            if (data is ulong)
                return (ulong)data == 9223372036854775808UL ? (object)long.MinValue : null;
            if (data is float)
                return -(float)data;
            if (data is double)
                return -(double)data;
            if (data is decimal)
                return -(decimal)data;
            return null;
        }

        // The bits of an enumeration's value.
        public static ulong Bits(object value)
        {
            Type underlying = Enum.GetUnderlyingType(value.GetType());
            if (underlying == typeof(ulong))
                return System.Convert.ToUInt64(value, CultureInfo.InvariantCulture);
            return unchecked((ulong)System.Convert.ToInt64(value, CultureInfo.InvariantCulture));
        }
    }
}
