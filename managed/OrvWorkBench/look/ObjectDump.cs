using System;
using System.Collections;
using System.Collections.Generic;
using System.Globalization;
using System.Reflection;

namespace OrvWorkBench
{
    // An object with its public fields and properties, and theirs, to a depth. Reading a property runs the user's code;
    // what it raises stands in its place. An object that was shown already is named by where.
    internal sealed class ObjectDump
    {
        private const int c_pageSize = 20;

        private readonly Listing m_list = new Listing();
        private readonly List<object> m_seen = new List<object>();
        private readonly List<string> m_places = new List<string>();
        private readonly int m_depth;
        private readonly int m_first;

        // first is the first element of the value itself, when it is a collection.
        public ObjectDump(int depth, int first)
        {
            m_depth = depth;
            m_first = first;
        }

        public void Show(string name, object value, Type declared)
        {
            Show(name, name, value, declared, 0);
        }

        private void Show(string path, string name, object value, Type declared, int depth)
        {
            string place = PlaceOf(value);
            ShownValue shown = Formatter.ShowWhole(value, declared);
            bool isOpened = place == null && IsOpened(value) && depth < m_depth;
            string text = place != null ? "(" + place + ")" : IsCollection(value) ? CountText(value) : shown.Value;
            string typed = shown.Type == null ? text : shown.Type + (text == null ? "" : " " + text);
            bool isCut = place == null && IsOpened(value) && !isOpened && !IsCollection(value);
            m_list.Add(new string(' ', 2 * depth) + name + " = " + typed + (isCut ? " ..." : ""),
                       "path", path, "name", name, "type", shown.Type, "text", text);
            if (!isOpened)
                return;
            if (!value.GetType().IsValueType)
            {
                m_seen.Add(value);
                m_places.Add(path);
            }
            if (IsCollection(value))
                ShowElements(path, (IEnumerable)value, depth);
            else
                ShowMembers(path, value, depth);
        }

        // Where the object was shown; null when it was not.
        private string PlaceOf(object value)
        {
            for (int i = 0; i < m_seen.Count; ++i)
            {
                if (ReferenceEquals(m_seen[i], value))
                    return m_places[i];
            }
            return null;
        }

        // Whether there is more to a value than its text.
        private static bool IsOpened(object value)
        {
            if (value == null || value is string || value is Enum || value is Type || value is Delegate || value is DateTime ||
                value is decimal || value is IEnumerator)
                return false;
            Type type = value.GetType();
            return !type.IsPrimitive && !type.IsPointer && !Assemblies.IsOwn(value) && (!(value is IEnumerable) || IsCollection(value));
        }

        private static bool IsCollection(object value)
        {
            return Collections.CountOf(value) != null;
        }

        private static string CountText(object value)
        {
            object count = null;
            Exception raised = Guard.Run(delegate() { count = Collections.CountOf(value).GetValue(value, null); });
            return raised == null ? "(" + Number((int)count) + ")" : "(its Count " + Guard.Describe(raised) + ")";
        }

        private static string Number(int number)
        {
            return number.ToString(CultureInfo.InvariantCulture);
        }

        private void ShowElements(string path, IEnumerable items, int depth)
        {
            int first = depth == 0 ? m_first : 0;
            int at = 0;
            Exception raised = Guard.Run(delegate() {
                foreach (object item in items)
                {
                    if (at == first + c_pageSize)
                    {
                        Output.Line(new string(' ', 2 * depth + 4) + "more: dump " + path + " " + Number(m_depth) + " " + Number(at));
                        return;
                    }
                    if (at >= first)
                        ShowElement(path, at, item, depth + 1);
                    ++at;
                }
            });
            if (raised != null)
                m_list.Add(new string(' ', 2 * depth + 2) + "(reading it " + Guard.Describe(raised) + ")", "path", path, "text", Guard.Describe(raised));
        }

        private void ShowElement(string path, int at, object item, int depth)
        {
            string name = "[" + Number(at) + "]";
            object key;
            object value;
            if (!Collections.IsPair(item, out key, out value))
                value = item;
            if (key != null)
                name = "[" + Formatter.Show(key) + "]";
            Show(path + name, name, value, null, depth);
        }

        private void ShowMembers(string path, object value, int depth)
        {
            foreach (MemberInfo member in MemberList.Of(value.GetType()))
            {
                FieldInfo field = member as FieldInfo;
                PropertyInfo property = member as PropertyInfo;
                if (field != null && !field.IsStatic)
                    ShowMember(path, member.Name, field.FieldType, depth, delegate() { return field.GetValue(value); });
                else if (property != null && IsReadable(property))
                    ShowMember(path, member.Name, property.PropertyType, depth, delegate() { return Members.Accessor(property, false).Invoke(value, new object[0]); });
            }
        }

        private delegate object Reader();

        private static bool IsReadable(PropertyInfo property)
        {
            MethodInfo getter = Members.Accessor(property, false);
            return getter != null && !getter.IsStatic && property.GetIndexParameters().Length == 0 && !property.PropertyType.IsPointer;
        }

        private void ShowMember(string path, string name, Type declared, int depth, Reader read)
        {
            object value = null;
            Exception raised = Guard.Run(delegate() { value = read(); });
            if (raised == null)
                Show(path + "." + name, name, value, declared, depth + 1);
            else
                m_list.Add(new string(' ', 2 * depth + 2) + name + " (" + Guard.Describe(raised) + ")",
                           "path", path + "." + name, "name", name, "type", TypeNames.Show(declared), "raised", Guard.Describe(raised));
        }
    }
}
