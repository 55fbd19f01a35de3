using System.Globalization;
using System.Runtime.CompilerServices;
using System.Text;

namespace System
{
    public interface IFormatProvider
    {
        object GetFormat(Type formatType);
    }

    public interface IFormattable
    {
        string ToString(string format, IFormatProvider formatProvider);
    }

    public sealed class String
    {

        public static readonly string Empty;
        public String(char c, int count) { }
        [IndexerName("Chars")]
        public char this[int index] { get { throw null; } }
        public int Length { get { throw null; } }
        public static int Compare(string strA, string strB, StringComparison comparisonType) { throw null; }
        public static int Compare(string strA, int indexA, string strB, int indexB, int length, StringComparison comparisonType) { throw null; }
        public static int CompareOrdinal(string strA, string strB) { throw null; }
        public static string Concat(object arg0, object arg1) { throw null; }
        public static string Concat(object arg0, object arg1, object arg2) { throw null; }
        public static string Concat(params object[] args) { throw null; }
        public static string Concat(string str0, string str1) { throw null; }
        public static string Concat(string str0, string str1, string str2) { throw null; }
        public static string Concat(string str0, string str1, string str2, string str3) { throw null; }
        public static string Concat(params string[] values) { throw null; }
        public bool Contains(string value) { throw null; }
        public bool EndsWith(string value, StringComparison comparisonType) { throw null; }
        public override bool Equals(object obj) { throw null; }
        public static bool Equals(string a, string b, StringComparison comparisonType) { throw null; }
        public override int GetHashCode() { throw null; }
        public int IndexOf(char value) { throw null; }
        public int IndexOf(char value, int startIndex) { throw null; }
        public int IndexOf(string value, StringComparison comparisonType) { throw null; }
        public int LastIndexOf(char value) { throw null; }
        public int IndexOfAny(char[] anyOf) { throw null; }
        public static bool IsNullOrEmpty(string value) { throw null; }
        public static string Join(string separator, params string[] value) { throw null; }
        public static bool operator ==(string a, string b) { throw null; }
        public static bool operator !=(string a, string b) { throw null; }
        public string Replace(char oldChar, char newChar) { throw null; }
        public string Replace(string oldValue, string newValue) { throw null; }
        public string[] Split(params char[] separator) { throw null; }
        public string[] Split(char[] separator, StringSplitOptions options) { throw null; }
        public bool StartsWith(string value, StringComparison comparisonType) { throw null; }
        public string Substring(int startIndex) { throw null; }
        public string Substring(int startIndex, int length) { throw null; }
        public string ToLowerInvariant() { throw null; }
        public string Trim() { throw null; }
        public string TrimStart(params char[] trimChars) { throw null; }
        public string Trim(params char[] trimChars) { throw null; }
    }

    public enum StringComparison
    {
        Ordinal = 4,
        OrdinalIgnoreCase = 5
    }

    public enum StringSplitOptions
    {
        RemoveEmptyEntries = 1
    }
}

namespace System.Globalization
{
    public class CultureInfo : IFormatProvider
    {
        internal CultureInfo() { }
        public static CultureInfo InvariantCulture { get { throw null; } }
        public virtual object GetFormat(Type formatType) { throw null; }
    }

    public enum NumberStyles
    {
        None = 0,
        AllowDecimalPoint = 32,
        AllowExponent = 128,
        AllowHexSpecifier = 512
    }

    public enum UnicodeCategory
    {
        NonSpacingMark = 5,
        SpacingCombiningMark = 6,
        LetterNumber = 9,
        ConnectorPunctuation = 18
    }
}

namespace System.Text
{
    public abstract class Encoding
    {
        public virtual byte[] GetBytes(string s) { throw null; }
        public virtual string GetString(byte[] bytes, int index, int count) { throw null; }
    }

    public sealed class StringBuilder
    {
        public StringBuilder() { }
        public StringBuilder(string value) { }
        [IndexerName("Chars")]
        public char this[int index] { get { throw null; } set { } }
        public int Length { get { throw null; } }
        public StringBuilder Append(char value) { throw null; }
        public StringBuilder Append(char value, int repeatCount) { throw null; }
        public StringBuilder Append(string value) { throw null; }
    }

    public class UTF8Encoding : Encoding
    {
        public UTF8Encoding(bool encoderShouldEmitUTF8Identifier) { }
    }
}
