using System;
using System.Globalization;

namespace OrvWorkBench
{
    // The conversions between numbers, characters and enumerations.
    internal static class NumericConversions
    {
        // Whether each value of the source is one of the target, as C# sees it.
        public static bool Widens(Type source, Type target)
        {
            if (source.IsEnum || target.IsEnum)
                return false;
            TypeCode to = Type.GetTypeCode(target);
            switch (Type.GetTypeCode(source))
            {
            case TypeCode.SByte:
                return IsOneOf(to, TypeCode.Int16, TypeCode.Int32, TypeCode.Int64) || IsReal(to);
            case TypeCode.Byte:
                return IsOneOf(to, TypeCode.Int16, TypeCode.UInt16, TypeCode.Int32, TypeCode.UInt32, TypeCode.Int64,
                               TypeCode.UInt64) ||
                       IsReal(to);
            case TypeCode.Int16:
                return IsOneOf(to, TypeCode.Int32, TypeCode.Int64) || IsReal(to);
            case TypeCode.UInt16:
                return IsOneOf(to, TypeCode.Int32, TypeCode.UInt32, TypeCode.Int64, TypeCode.UInt64) || IsReal(to);
            case TypeCode.Char:
                return IsOneOf(to, TypeCode.UInt16, TypeCode.Int32, TypeCode.UInt32, TypeCode.Int64, TypeCode.UInt64) ||
                       IsReal(to);
            case TypeCode.Int32:
                return to == TypeCode.Int64 || IsReal(to);
            case TypeCode.UInt32:
                return IsOneOf(to, TypeCode.Int64, TypeCode.UInt64) || IsReal(to);
            case TypeCode.Int64:
            case TypeCode.UInt64:
                return IsReal(to);
            case TypeCode.Single:
                return to == TypeCode.Double;
            default:
                return false;
            }
        }

        private static bool IsReal(TypeCode code)
        {
            return IsOneOf(code, TypeCode.Single, TypeCode.Double, TypeCode.Decimal);
        }

        private static bool IsOneOf(TypeCode code, params TypeCode[] codes)
        {
            return Array.IndexOf(codes, code) >= 0;
        }

        // What C# allows for constants only: an int that fits the smaller type, a long as ulong, a whole 0 as an enumeration.
        public static bool ExistsConstant(Value value, Type target)
        {
            if (!value.IsConstant)
                return false;
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            if (plain.IsEnum)
                return IsWholeZero(value.Data);
            if (value.Data is long)
                return plain == typeof(ulong) && (long)value.Data >= 0;
            if (!(value.Data is int))
                return false;
            int number = (int)value.Data;
            switch (Type.GetTypeCode(plain))
            {
            case TypeCode.SByte:
                return number >= sbyte.MinValue && number <= sbyte.MaxValue;
            case TypeCode.Byte:
                return number >= byte.MinValue && number <= byte.MaxValue;
            case TypeCode.Int16:
                return number >= short.MinValue && number <= short.MaxValue;
            case TypeCode.UInt16:
                return number >= ushort.MinValue && number <= ushort.MaxValue;
            case TypeCode.UInt32:
            case TypeCode.UInt64:
                return number >= 0;
            default:
                return false;
            }
        }

        private static bool IsWholeZero(object data)
        {
            bool isWhole = Numbers.IsNumeric(data.GetType()) && !IsReal(Type.GetTypeCode(data.GetType()));
            return isWhole && ((IConvertible)data).ToString(CultureInfo.InvariantCulture) == "0";
        }

        // Whether a cast may turn the one into the other.
        public static bool IsNumberLike(Type type)
        {
            return Numbers.IsNumeric(type) || type == typeof(char) || type.IsEnum;
        }

        // Turns a number or a character into a wider one, or one that it fits.
        public static object Change(object data, Type target)
        {
            if (data is char)
                data = (int)(char)data;
            return System.Convert.ChangeType(data, target, CultureInfo.InvariantCulture);
        }

        // Cuts a fraction off. Throws CommandError when the number does not fit.
        public static object Cast(object data, Type target, int position)
        {
            string shown = Formatter.Show(data);
            if (data.GetType().IsEnum)
                data = System.Convert.ChangeType(data, Enum.GetUnderlyingType(data.GetType()), CultureInfo.InvariantCulture);
            if (data is char)
                data = (int)(char)data;
            Type plain = target.IsEnum ? Enum.GetUnderlyingType(target) : target;
            bool isWhole = plain != typeof(float) && plain != typeof(double) && plain != typeof(decimal);
            if (isWhole && data is decimal)
                data = decimal.Truncate((decimal)data);
            else if (isWhole && data is float)
                data = Math.Truncate((double)(float)data);
            else if (isWhole && data is double)
                data = Math.Truncate((double)data);
            try
            {
                object number = plain == typeof(char)
                                    ? (char)System.Convert.ToUInt16(data, CultureInfo.InvariantCulture)
                                    : System.Convert.ChangeType(data, plain, CultureInfo.InvariantCulture);
                return target.IsEnum ? Enum.ToObject(target, number) : number;
            }
            catch (OverflowException)
            {
                throw new CommandError(position, shown + " does not fit '" + TypeNames.Show(target) + "'");
            }
        }
    }
}
