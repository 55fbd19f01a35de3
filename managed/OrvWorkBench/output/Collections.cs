using System;
using System.Collections;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Which values are collections that know how many elements they have: those can be read without changing anything.
    // Any other sequence, an iterator or a reader, may be there to be read once, may have no end or may block.
    internal static class Collections
    {
        // Where the collection says its count: a property of one of its interfaces. Null for what is no such collection.
        public static PropertyInfo CountOf(object value)
        {
            if (!(value is IEnumerable) || value is string)
                return null;
            if (value is ICollection)
                return typeof(ICollection).GetProperty("Count");
            foreach (Type type in value.GetType().GetInterfaces())
            {
                if (type.IsGenericType && IsCounted(type.GetGenericTypeDefinition()))
                    return type.GetProperty("Count");
            }
            return null;
        }

        private static bool IsCounted(Type definition)
        {
            // The second is younger than the 2.0 library.
            return definition == typeof(ICollection<>) || definition.FullName == "System.Collections.Generic.IReadOnlyCollection`1";
        }

        // Whether an element is the entry of a dictionary, and its parts.
        public static bool IsPair(object item, out object key, out object value)
        {
            key = null;
            value = null;
            if (item is DictionaryEntry)
            {
                DictionaryEntry entry = (DictionaryEntry)item;
                key = entry.Key;
                value = entry.Value;
                return true;
            }
            Type type = item == null ? null : item.GetType();
            if (type == null || !type.IsGenericType || type.GetGenericTypeDefinition() != typeof(KeyValuePair<,>))
                return false;
            key = type.GetProperty("Key").GetValue(item, null);
            value = type.GetProperty("Value").GetValue(item, null);
            return true;
        }

        // What the elements of a sequence count as; object when it does not say, or says several types.
        public static Type ElementTypeOf(Type sequence)
        {
            Type found = null;
            List<Type> types = new List<Type>(sequence.GetInterfaces());
            types.Add(sequence);
            foreach (Type type in types)
            {
                if (!type.IsGenericType)
                    continue;
                Type definition = type.GetGenericTypeDefinition();
                if (definition != typeof(IEnumerable<>) && definition != typeof(IEnumerator<>))
                    continue;
                Type element = type.GetGenericArguments()[0];
                if (found != null && found != element)
                    return typeof(object);
                found = element;
            }
            return found ?? typeof(object);
        }
    }
}
