using System.Globalization;

namespace System
{
    public struct Boolean
    {
    }

    public struct Byte
    {
        public const byte MaxValue = 255;
        public const byte MinValue = 0;
    }

    public struct Char
    {
        public static string ConvertFromUtf32(int utf32) { throw null; }
        public static UnicodeCategory GetUnicodeCategory(char c) { throw null; }
        public static bool IsControl(char c) { throw null; }
        public static bool IsHighSurrogate(char c) { throw null; }
        public static bool IsLetter(char c) { throw null; }
        public static bool IsLetterOrDigit(char c) { throw null; }
        public static bool IsLowSurrogate(char c) { throw null; }
        public static bool IsSurrogate(char c) { throw null; }
        public static bool IsWhiteSpace(char c) { throw null; }
    }

    public static class Convert
    {
        public static object ChangeType(object value, Type conversionType, IFormatProvider provider) { throw null; }
        public static int ToInt32(object value, IFormatProvider provider) { throw null; }
        public static long ToInt64(object value, IFormatProvider provider) { throw null; }
        public static ushort ToUInt16(object value, IFormatProvider provider) { throw null; }
        public static ulong ToUInt64(object value, IFormatProvider provider) { throw null; }
    }

    public struct DateTime
    {
        public long Ticks { get { throw null; } }
        public string ToString(string format, IFormatProvider provider) { throw null; }
    }

    public struct Decimal
    {
        public static decimal operator -(decimal d) { throw null; }
        public static decimal Truncate(decimal d) { throw null; }
        public static bool TryParse(string s, NumberStyles style, IFormatProvider provider, out decimal result) { throw null; }
    }

    public struct Double
    {
        public static bool IsInfinity(double d) { throw null; }
        public string ToString(IFormatProvider provider) { throw null; }
        public string ToString(string format, IFormatProvider provider) { throw null; }
        public static bool TryParse(string s, NumberStyles style, IFormatProvider provider, out double result) { throw null; }
    }

    public interface IConvertible
    {
        TypeCode GetTypeCode();
        bool ToBoolean(IFormatProvider provider);
        byte ToByte(IFormatProvider provider);
        char ToChar(IFormatProvider provider);
        DateTime ToDateTime(IFormatProvider provider);
        decimal ToDecimal(IFormatProvider provider);
        double ToDouble(IFormatProvider provider);
        short ToInt16(IFormatProvider provider);
        int ToInt32(IFormatProvider provider);
        long ToInt64(IFormatProvider provider);
        sbyte ToSByte(IFormatProvider provider);
        float ToSingle(IFormatProvider provider);
        string ToString(IFormatProvider provider);
        object ToType(Type conversionType, IFormatProvider provider);
        ushort ToUInt16(IFormatProvider provider);
        uint ToUInt32(IFormatProvider provider);
        ulong ToUInt64(IFormatProvider provider);
    }

    public struct Int16
    {
        public const short MaxValue = 32767;
        public const short MinValue = -32768;
    }

    public struct Int32
    {
        public const int MaxValue = 2147483647;
        public const int MinValue = -2147483648;
        public static int Parse(string s, NumberStyles style, IFormatProvider provider) { throw null; }
        public string ToString(IFormatProvider provider) { throw null; }
        public string ToString(string format, IFormatProvider provider) { throw null; }
    }

    public struct Int64
    {
        public const long MaxValue = 9223372036854775807;
        public const long MinValue = -9223372036854775808;
        public string ToString(IFormatProvider provider) { throw null; }
    }

    public struct IntPtr
    {
        public static explicit operator IntPtr(int value) { throw null; }
        public long ToInt64() { throw null; }
    }

    public static class Math
    {
        public static int Abs(int value) { throw null; }
        public static int Max(int val1, int val2) { throw null; }
        public static int Min(int val1, int val2) { throw null; }
        public static double Truncate(double d) { throw null; }
    }

    public struct SByte
    {
        public const sbyte MaxValue = 127;
        public const sbyte MinValue = -128;
    }

    public struct Single
    {
        public static bool IsInfinity(float f) { throw null; }
        public string ToString(string format, IFormatProvider provider) { throw null; }
        public static bool TryParse(string s, NumberStyles style, IFormatProvider provider, out float result) { throw null; }
    }

    public enum TypeCode
    {
        Char = 4,
        SByte = 5,
        Byte = 6,
        Int16 = 7,
        UInt16 = 8,
        Int32 = 9,
        UInt32 = 10,
        Int64 = 11,
        UInt64 = 12,
        Single = 13,
        Double = 14,
        Decimal = 15
    }

    public struct UInt16
    {
        public const ushort MaxValue = 65535;
        public const ushort MinValue = 0;
    }

    public struct UInt32
    {
        public const uint MaxValue = 4294967295;
    }

    public struct UInt64
    {
        public const ulong MaxValue = 18446744073709551615;
        public static bool TryParse(string s, NumberStyles style, IFormatProvider provider, out ulong result) { throw null; }
    }

    public struct UIntPtr
    {
    }
}
