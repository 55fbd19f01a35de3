using System;
using System.Collections.Generic;
using System.Text;

namespace OrvWorkBench
{
    // The names of types as C# writes them: type to name, keyword to type.
    internal static class TypeNames
    {
        private static readonly Dictionary<string, Type> s_byKeyword = new Dictionary<string, Type>();
        private static readonly Dictionary<Type, string> s_byType = new Dictionary<Type, string>();

        static TypeNames()
        {
            Add("bool", typeof(bool));
            Add("byte", typeof(byte));
            Add("sbyte", typeof(sbyte));
            Add("char", typeof(char));
            Add("short", typeof(short));
            Add("ushort", typeof(ushort));
            Add("int", typeof(int));
            Add("uint", typeof(uint));
            Add("long", typeof(long));
            Add("ulong", typeof(ulong));
            Add("float", typeof(float));
            Add("double", typeof(double));
            Add("decimal", typeof(decimal));
            Add("string", typeof(string));
            Add("object", typeof(object));
        }

        private static void Add(string keyword, Type type)
        {
            s_byKeyword[keyword] = type;
            s_byType[type] = keyword;
        }

        public static IEnumerable<string> Keywords
        {
            get { return s_byKeyword.Keys; }
        }

        public static bool IsKeyword(string word)
        {
            return s_byKeyword.ContainsKey(word);
        }

        public static Type FromKeyword(string keyword)
        {
            return s_byKeyword[keyword];
        }

        // The type as C# writes it: its keyword if it has one, dots before nested types, type arguments in angle
        // brackets.
        public static string Show(Type type)
        {
            string keyword;
            if (type == null)
                return "null";
            if (s_byType.TryGetValue(type, out keyword))
                return keyword;
            if (type == typeof(void))
                return "void";
            if (type.IsByRef)
                return "ref " + Show(type.GetElementType());
            if (type.IsPointer)
                return Show(type.GetElementType()) + "*";
            if (type.IsArray)
                return ShowArray(type);
            Type underlying = Nullable.GetUnderlyingType(type);
            if (underlying != null)
                return Show(underlying) + "?";
            if (type.IsGenericParameter)
                return type.Name;
            return ShowNamed(type);
        }

        private static string ShowArray(Type type)
        {
            StringBuilder ranks = new StringBuilder();
            while (type.IsArray)
            {
                ranks.Append('[').Append(',', type.GetArrayRank() - 1).Append(']');
                type = type.GetElementType();
            }
            return Show(type) + ranks;
        }

        private static string ShowNamed(Type type)
        {
            // A nested type's arguments include those of the types around it.
            List<Type> chain = new List<Type>();
            for (Type outer = type; outer != null; outer = outer.DeclaringType)
                chain.Insert(0, outer);
            Type[] arguments = type.GetGenericArguments();
            StringBuilder text = new StringBuilder();
            if (!string.IsNullOrEmpty(type.Namespace))
                text.Append(type.Namespace).Append('.');
            int used = 0;
            for (int i = 0; i < chain.Count; ++i)
            {
                if (i > 0)
                    text.Append('.');
                string name = chain[i].Name;
                int tick = name.IndexOf('`');
                text.Append(tick < 0 ? name : name.Substring(0, tick));
                int count = Math.Min(chain[i].GetGenericArguments().Length, arguments.Length);
                if (count > used)
                {
                    text.Append('<');
                    for (int a = used; a < count; ++a)
                        text.Append(a > used ? ", " : "").Append(Show(arguments[a]));
                    text.Append('>');
                }
                used = Math.Max(used, count);
            }
            return text.ToString();
        }

        public static string ShowAll(Type[] types)
        {
            StringBuilder text = new StringBuilder();
            for (int i = 0; i < types.Length; ++i)
                text.Append(i > 0 ? ", " : "").Append(Show(types[i]));
            return text.ToString();
        }
    }
}
