using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What a user looks for among members: a name, or what they take and give: "Raise", "-> double", "string ->",
    // "int -> string". Each part is a pattern; those of types match a type's name with or without its namespace.
    internal sealed class MemberSearch
    {
        private readonly Pattern m_name;
        private readonly TypePattern m_taken;
        private readonly TypePattern m_given;

        public MemberSearch(string text)
        {
            int arrow = text.IndexOf("->", StringComparison.Ordinal);
            if (arrow < 0)
            {
                m_name = new Pattern(text);
                return;
            }
            m_taken = OfType(text.Substring(0, arrow));
            m_given = OfType(text.Substring(arrow + 2));
        }

        public bool Matches(MemberInfo member)
        {
            if (m_name != null)
                return m_name.Matches(member.Name);
            if (member is Type || (m_given != null && !m_given.Matches(Given(member))))
                return false;
            return m_taken == null || Taken(member).Exists(m_taken.Matches);
        }

        // Null for a part that is not there. A type's name is meant whole.
        private static TypePattern OfType(string text)
        {
            string name = text.Trim();
            if (name.Length == 0)
                return null;
            return new TypePattern(new Pattern(name.IndexOfAny(new char[] { '*', '?' }) >= 0 ? name : name + "*"));
        }

        // Few types are taken and given by many members: each is looked at once.
        private sealed class TypePattern
        {
            private readonly Pattern m_pattern;
            private readonly Dictionary<Type, bool> m_known = new Dictionary<Type, bool>();

            public TypePattern(Pattern pattern)
            {
                m_pattern = pattern;
            }

            public bool Matches(Type type)
            {
                if (type == null)
                    return false;
                bool matches;
                if (!m_known.TryGetValue(type, out matches))
                    m_known.Add(type, matches = IsNamed(TypeNames.Show(type)));
                return matches;
            }

            private bool IsNamed(string name)
            {
                return m_pattern.Matches(name) || m_pattern.Matches(name.Substring(name.LastIndexOf('.') + 1));
            }
        }

        private static Type Given(MemberInfo member)
        {
            ConstructorInfo constructor = member as ConstructorInfo;
            if (constructor != null)
                return constructor.DeclaringType;
            MethodInfo method = member as MethodInfo;
            if (method != null)
                return method.ReturnType;
            PropertyInfo property = member as PropertyInfo;
            if (property != null)
                return Members.Accessor(property, false) == null ? null : property.PropertyType;
            FieldInfo field = member as FieldInfo;
            return field == null ? null : field.FieldType;
        }

        private static List<Type> Taken(MemberInfo member)
        {
            List<Type> types = new List<Type>();
            MethodBase method = member as MethodBase;
            PropertyInfo property = member as PropertyInfo;
            ParameterInfo[] parameters = method != null ? method.GetParameters()
                                         : property != null ? property.GetIndexParameters()
                                                            : new ParameterInfo[0];
            foreach (ParameterInfo parameter in parameters)
                types.Add(parameter.ParameterType.IsByRef ? parameter.ParameterType.GetElementType() : parameter.ParameterType);
            if (property != null && Members.Accessor(property, true) != null)
                types.Add(property.PropertyType);
            FieldInfo field = member as FieldInfo;
            if (field != null && !field.IsLiteral && !field.IsInitOnly)
                types.Add(field.FieldType);
            return types;
        }
    }
}
