using System;
using System.Collections;
using System.Globalization;
using System.Reflection;
using System.Text;

namespace OrvWorkBench
{
    // Values as texts for the user. This calls the user's code for what is made to be looked at: ToString, and the
    // elements of a collection that knows its count. What that raises becomes part of the text.
    internal sealed class Formatter
    {
        public const int GreatestElements = 10;
        public const int GreatestText = 500;
        private const int c_greatestDepth = 3;

        private Omission m_omitted;

        private Formatter()
        {
        }

        // Type and value, as "double 21.5" or "int[] (3) { 1, 2, 3 }".
        public static string ShowTyped(object value, Type declared)
        {
            return ShowWhole(value, declared).Text;
        }

        // As ShowTyped, with what is left out.
        public static ShownValue ShowWhole(object value, Type declared)
        {
            Formatter formatter = new Formatter();
            ShownValue shown = new ShownValue();
            shown.Type = TypeOf(value, declared);
            shown.Value = value == null ? "null" : formatter.Sequence(value, 0) ?? formatter.Plain(value, 0);
            shown.Whole = value as string;
            shown.Omitted = formatter.m_omitted;
            return shown;
        }

        // The value alone.
        public static string Show(object value)
        {
            return new Formatter().Element(value, 0);
        }

        // An element of a collection, with what is left out. A plain value is shown without its type.
        public static ShownValue ShowElement(object value)
        {
            Formatter formatter = new Formatter();
            ShownValue shown = new ShownValue();
            shown.Value = formatter.Element(value, 0);
            shown.Omitted = formatter.m_omitted;
            return shown;
        }

        private static string TypeOf(object value, Type declared)
        {
            if (value == null)
                return declared == null || declared == typeof(object) ? null : TypeNames.Show(declared);
            return value is Type ? "System.Type" : TypeNames.Show(value.GetType());
        }

        private string Element(object value, int depth)
        {
            if (value == null)
                return "null";
            string text = Sequence(value, depth);
            if (text != null)
                return TypeNames.Show(value.GetType()) + " " + text;
            return Plain(value, depth) ?? TypeNames.Show(value.GetType());
        }

        // Tells the user that something is missing; the first to say so is the one that counts.
        private void Omit(Omission what)
        {
            if (m_omitted == Omission.Nothing)
                m_omitted = what;
        }

        // Null for what is no sequence, or an empty one whose ToString tells more.
        private string Sequence(object value, int depth)
        {
            if (value is IEnumerator)
                return Unread(value, depth);
            if (!(value is IEnumerable) || value is string)
                return null;
            Array array = value as Array;
            if (array != null)
                return Items(array, array.Rank == 1 ? Number(array.Length) : Lengths(array), depth);
            PropertyInfo counter = Collections.CountOf(value);
            if (counter == null)
                return Unread(value, depth);
            int count = 0;
            Exception raised = Guard.Run(delegate() { count = (int)counter.GetValue(value, null); });
            if (raised != null)
                return "(its Count " + Guard.Describe(raised) + ")";
            string own = count == 0 ? OwnText(value, depth) : null;
            return own ?? Items((IEnumerable)value, Number(count), depth);
        }

        private string Unread(object value, int depth)
        {
            string own = OwnText(value, depth);
            if (depth == 0)
                Omit(Omission.Sequence);
            return (own == null ? "" : own + " ") + "(a sequence of " +
                   TypeNames.Show(Collections.ElementTypeOf(value.GetType())) + ", not read)";
        }

        private static string Number(int number)
        {
            return number.ToString(CultureInfo.InvariantCulture);
        }

        // "2, 3"; a dimension that does not start at 0 as "5..7".
        private static string Lengths(Array array)
        {
            StringBuilder text = new StringBuilder();
            for (int i = 0; i < array.Rank; ++i)
            {
                int first = array.GetLowerBound(i);
                int last = array.GetUpperBound(i);
                text.Append(i > 0 ? ", " : "").Append(first == 0 ? Number(last + 1) : Number(first) + ".." + Number(last));
            }
            return text.ToString();
        }

        private string Items(IEnumerable items, string count, int depth)
        {
            StringBuilder text = new StringBuilder("(" + count + ") ");
            if (depth >= c_greatestDepth)
            {
                Omit(Omission.Depth);
                return text.Append("{ ... }").ToString();
            }
            Array array = items as Array;
            Exception raised = Guard.Run(delegate() {
                if (array != null && array.Rank > 1)
                    AppendBlock(text, array, new int[array.Rank], 0, depth);
                else
                    AppendItems(text, items, depth);
            });
            return raised == null ? text.ToString() : text + " (reading it " + Guard.Describe(raised) + ")";
        }

        // False when the elements from there on are left out.
        private bool Separate(StringBuilder text, int shown, int depth)
        {
            text.Append(shown > 0 ? ", " : " ");
            if (shown < GreatestElements)
                return true;
            text.Append("...");
            Omit(depth == 0 ? Omission.Elements : Omission.Depth);
            return false;
        }

        private void AppendItems(StringBuilder text, IEnumerable items, int depth)
        {
            text.Append('{');
            int shown = 0;
            IEnumerator all = items.GetEnumerator();
            try
            {
                while (all.MoveNext())
                {
                    if (!Separate(text, shown++, depth))
                        break;
                    text.Append(Item(all.Current, depth + 1));
                }
            }
            finally
            {
                IDisposable disposable = all as IDisposable;
                if (disposable != null)
                    disposable.Dispose();
            }
            text.Append(" }");
        }

        // An array of several dimensions, each in braces of its own.
        private void AppendBlock(StringBuilder text, Array array, int[] at, int dimension, int depth)
        {
            text.Append('{');
            int first = array.GetLowerBound(dimension);
            for (int i = first; i <= array.GetUpperBound(dimension); ++i)
            {
                // The number of an element in a row says little about the rows that are left out.
                if (!Separate(text, i - first, depth + 1))
                    break;
                at[dimension] = i;
                if (dimension + 1 < at.Length)
                    AppendBlock(text, array, at, dimension + 1, depth);
                else
                    text.Append(Item(array.GetValue(at), depth + 1));
            }
            text.Append(" }");
        }

        private string Item(object item, int depth)
        {
            object key;
            object value;
            if (Collections.IsPair(item, out key, out value))
                return Element(key, depth) + ": " + Element(value, depth);
            return Element(item, depth);
        }

        // Null for an object whose class has no ToString of its own.
        private string Plain(object value, int depth)
        {
            string text = value as string;
            if (text != null)
                return Quote(text, depth == 0 ? Omission.Characters : Omission.Depth);
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
                return NameOf((Type)value);
            if (value is Delegate)
                return Signatures.Show(((Delegate)value).Method);
            if (Numbers.IsNumeric(value.GetType()))
                return ((IConvertible)value).ToString(CultureInfo.InvariantCulture);
            if (value is DateTime)
                return ((DateTime)value).ToString("yyyy-MM-dd HH:mm:ss.FFFFFFF", CultureInfo.InvariantCulture);
            return OwnText(value, depth);
        }

        // A type of the user's own making may not tell.
        private static string NameOf(Type type)
        {
            string name = null;
            Exception raised = Guard.Run(delegate() { name = TypeNames.Show(type); });
            return raised == null ? name : "(its name " + Guard.Describe(raised) + ")";
        }

        private static string ShowEnum(Enum value)
        {
            object number = System.Convert.ChangeType(value, Enum.GetUnderlyingType(value.GetType()), CultureInfo.InvariantCulture);
            string name = value.ToString();
            string plain = ((IConvertible)number).ToString(CultureInfo.InvariantCulture);
            return name == plain ? plain : name + " (" + plain + ")";
        }

        private string Quote(string text, Omission ifCut)
        {
            if (text.Length <= GreatestText)
                return "\"" + Printable.Escape(text) + "\"";
            Omit(ifCut);
            int end = char.IsHighSurrogate(text[GreatestText - 1]) ? GreatestText - 1 : GreatestText;
            return "\"" + Printable.Escape(text.Substring(0, end)) + "\"... (" + Number(text.Length) + " characters)";
        }

        // What the value's ToString gives; null when its class has none of its own.
        private string OwnText(object value, int depth)
        {
            string text = null;
            Exception raised = Guard.Run(delegate() {
                MethodInfo method = value.GetType().GetMethod("ToString", Type.EmptyTypes);
                if (method == null || method.DeclaringType == typeof(object) || method.DeclaringType == typeof(ValueType))
                    return;
                IFormattable formattable = value as IFormattable;
                text = formattable != null ? formattable.ToString(null, CultureInfo.InvariantCulture) : value.ToString();
            });
            if (raised != null)
                return "(its ToString " + Guard.Describe(raised) + ")";
            return text == null ? null : Quote(text, depth == 0 ? Omission.OwnText : Omission.Depth);
        }
    }
}
