using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // A value in an expression, with the type that it counts as.
    internal sealed class Value
    {
        public readonly object Data;
        // The type by which overloads are chosen: the object's own, except after a cast. Null for the literal null.
        public readonly Type Type;
        // A number written in the command, which C# converts to smaller types when it fits.
        public readonly bool IsConstant;
        // The elements of "{ ... }", whose type follows from where it is used; null for every other value.
        public readonly IList<Value> Elements;

        public static readonly Value Null = new Value(null, null, false, null);

        private Value(object data, Type type, bool isConstant, IList<Value> elements)
        {
            Data = data;
            Type = type;
            IsConstant = isConstant;
            Elements = elements;
        }

        // What a member returned. It counts as the object's own type; null counts as the member's declared type.
        public static Value Of(object data, Type declared)
        {
            if (data == null && declared == null)
                return Null;
            return new Value(data, data == null ? declared : data.GetType(), false, null);
        }

        // A value that counts as the given type.
        public static Value As(object data, Type type)
        {
            return new Value(data, type, false, null);
        }

        public static Value Constant(object data)
        {
            return new Value(data, data.GetType(), true, null);
        }

        public static Value Array(IList<Value> elements)
        {
            return new Value(null, null, false, elements);
        }
    }
}
