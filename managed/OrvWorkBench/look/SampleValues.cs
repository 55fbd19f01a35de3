using System;
using System.Reflection;
using System.Text;

namespace OrvWorkBench
{
    // Literals for an example's arguments.
    internal static class SampleValues
    {
        private static readonly string[] s_places = { "file", "path", "uri", "url", "host", "director" };

        // Null for a type that no short literal can be written for. Numbers come out near the given one.
        public static string For(Type type, int number)
        {
            Type plain = Nullable.GetUnderlyingType(type) ?? type;
            if (plain.IsEnum)
                return Enumerator(plain);
            if (plain == typeof(string))
                return "\"abc\"";
            if (plain == typeof(char))
                return "'a'";
            if (plain == typeof(bool))
                return "true";
            if (plain == typeof(double))
                return number + ".5";
            if (plain == typeof(float))
                return number + ".5f";
            if (plain == typeof(decimal))
                return number + ".5m";
            return Numbers.IsNumeric(plain) ? number.ToString() : null;
        }

        // "(1, \"abc\")"; null when something cannot be written. What may be left out is.
        public static string ForAll(ParameterInfo[] parameters, int number)
        {
            StringBuilder text = new StringBuilder();
            foreach (ParameterInfo parameter in parameters)
            {
                if (parameter.IsOptional)
                    break;
                string value = parameter.ParameterType.IsByRef || NamesPlace(parameter) ? null : For(parameter.ParameterType, number);
                if (value == null)
                    return null;
                text.Append(text.Length > 0 ? ", " : "").Append(value);
            }
            return "(" + text + ")";
        }

        // Whether it is the name of something that there must be, or that would be made: a file, an address.
        private static bool NamesPlace(ParameterInfo parameter)
        {
            if (parameter.ParameterType != typeof(string))
                return false;
            string name = (parameter.Name ?? "").ToLowerInvariant();
            return Array.Exists<string>(s_places, name.Contains);
        }

        // The second one, which says more than the first: that is often "none".
        private static string Enumerator(Type type)
        {
            FieldInfo[] fields = type.GetFields(BindingFlags.Public | BindingFlags.Static);
            return fields.Length == 0 ? null : TypeNames.Show(type) + "." + fields[Math.Min(1, fields.Length - 1)].Name;
        }
    }
}
