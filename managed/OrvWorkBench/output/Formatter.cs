using System;
using System.Collections;
using System.Globalization;
using System.Reflection;
using System.Text;

namespace OrvWorkBench
{
    // Values as texts for the user. This may call the user's code (ToString, enumerators); what that raises becomes
    // part of the text.
    internal static class Formatter
    {
        private const int c_greatestElements = 10;
        private const int c_greatestText = 500;
        private const int c_greatestDepth = 3;

        // Type and value, as "double 21.5" or "int[] (3) { 1, 2, 3 }".
        public static string ShowTyped(object value, Type declared)
        {
            if (value == null)
                return declared == null || declared == typeof(object) ? "null" : TypeNames.Show(declared) + " null";
            IEnumerable items = AsCollection(value);
            string name = value is Type ? "System.Type" : TypeNames.Show(value.GetType());
            if (items != null)
                return name + " " + ShowItems(items, 0);
            string text = ShowPlain(value);
            return text == null ? name : name + " " + text;
        }

        // The value alone.
        public static string Show(object value)
        {
            return Show(value, 0);
        }

        private static string Show(object value, int depth)
        {
            if (value == null)
                return "null";
            IEnumerable items = AsCollection(value);
            if (items != null)
                return TypeNames.Show(value.GetType()) + " " + ShowItems(items, depth);
            return ShowPlain(value) ?? TypeNames.Show(value.GetType());
        }

        private static IEnumerable AsCollection(object value)
        {
            return value is string ? null : value as IEnumerable;
        }

        // Null for an object whose class has no ToString of its own.
        private static string ShowPlain(object value)
        {
            string text = value as string;
            if (text != null)
                return Quote(text);
            if (value is char)
                return "'" + ((char)value == '\'' ? "\\'" : (char)value == '"' ? "\"" : Printable.Escape(value.ToString())) + "'";
            if (value is bool)
                return (bool)value ? "true" : "false";
            if (value is Enum)
                return ShowEnum((Enum)value);
            if (value is double)
                return ((double)value).ToString("R", CultureInfo.InvariantCulture);
            if (value is float)
                return ((float)value).ToString("R", CultureInfo.InvariantCulture);
            if (value is Type)
                return TypeNames.Show((Type)value);
            if (value is Delegate)
                return Signatures.Show(((Delegate)value).Method);
            if (Numbers.IsNumeric(value.GetType()))
                return ((IConvertible)value).ToString(CultureInfo.InvariantCulture);
            if (value is DateTime)
                return ((DateTime)value).ToString("yyyy-MM-dd HH:mm:ss.FFFFFFF", CultureInfo.InvariantCulture);
            return ShowOwnText(value);
        }

        private static string ShowEnum(Enum value)
        {
            object number = System.Convert.ChangeType(value, Enum.GetUnderlyingType(value.GetType()), CultureInfo.InvariantCulture);
            string name = value.ToString();
            string plain = ((IConvertible)number).ToString(CultureInfo.InvariantCulture);
            return name == plain ? plain : name + " (" + plain + ")";
        }

        private static string Quote(string text)
        {
            if (text.Length <= c_greatestText)
                return "\"" + Printable.Escape(text) + "\"";
            int end = char.IsHighSurrogate(text[c_greatestText - 1]) ? c_greatestText - 1 : c_greatestText;
            return "\"" + Printable.Escape(text.Substring(0, end)) + "\"... (" +
                   text.Length.ToString(CultureInfo.InvariantCulture) + " characters)";
        }

        private static string ShowOwnText(object value)
        {
            try
            {
                MethodInfo method = value.GetType().GetMethod("ToString", Type.EmptyTypes);
                if (method == null || method.DeclaringType == typeof(object) || method.DeclaringType == typeof(ValueType))
                    return null;
                IFormattable formattable = value as IFormattable;
                string text = formattable != null ? formattable.ToString(null, CultureInfo.InvariantCulture) : value.ToString();
                return text == null ? null : Quote(text);
            }
            catch (Exception error)
            {
                return "(its ToString raised " + TypeNames.Show(error.GetType()) + ": " + Printable.OneLine(error.Message) + ")";
            }
        }

        private static string ShowItems(IEnumerable items, int depth)
        {
            StringBuilder text = new StringBuilder();
            try
            {
                int count = CountOf(items);
                if (count >= 0)
                    text.Append('(').Append(count.ToString(CultureInfo.InvariantCulture)).Append(") ");
                if (depth >= c_greatestDepth)
                    return text.Append("{ ... }").ToString();
                text.Append('{');
                int shown = 0;
                IEnumerator all = items.GetEnumerator();
                try
                {
                    while (all.MoveNext())
                    {
                        text.Append(shown > 0 ? ", " : " ");
                        if (shown++ == c_greatestElements)
                        {
                            text.Append("...");
                            break;
                        }
                        text.Append(ShowItem(all.Current, depth + 1));
                    }
                }
                finally
                {
                    IDisposable disposable = all as IDisposable;
                    if (disposable != null)
                        disposable.Dispose();
                }
                return text.Append(" }").ToString();
            }
            catch (Exception error)
            {
                return text + " (reading it raised " + TypeNames.Show(error.GetType()) + ": " +
                       Printable.OneLine(error.Message) + ")";
            }
        }

        // -1 when the collection does not say.
        private static int CountOf(IEnumerable items)
        {
            ICollection collection = items as ICollection;
            if (collection != null)
                return collection.Count;
            PropertyInfo count = items.GetType().GetProperty("Count", typeof(int), Type.EmptyTypes);
            return count == null || !count.CanRead ? -1 : (int)count.GetValue(items, null);
        }

        private static string ShowItem(object item, int depth)
        {
            if (item is DictionaryEntry)
            {
                DictionaryEntry entry = (DictionaryEntry)item;
                return Show(entry.Key, depth) + ": " + Show(entry.Value, depth);
            }
            Type type = item == null ? null : item.GetType();
            if (type != null && type.IsGenericType &&
                type.GetGenericTypeDefinition() == typeof(System.Collections.Generic.KeyValuePair<,>))
                return Show(type.GetProperty("Key").GetValue(item, null), depth) + ": " +
                       Show(type.GetProperty("Value").GetValue(item, null), depth);
            return Show(item, depth);
        }
    }
}
