using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // A value in an expression, with the type that it counts as.
    internal sealed class Value
    {
        public readonly object Data;
        // The type by which overloads are chosen: the object's own, except after a cast and for a nullable value. Null
        // for the literal null, "{ ... }" and methods.
        public readonly Type Type;
        // A number written in the command, which C# converts to smaller types when it fits.
        public readonly bool IsConstant;
        // The elements of "{ ... }", whose type follows from where it is used; null for every other value.
        public readonly IList<Value> Elements;
        // The methods of a name that is not called, which become a delegate where one is wanted; null for every other
        // value.
        public readonly MethodGroup Methods;

        public static readonly Value Null = new Value(null, null, false, null, null);

        private Value(object data, Type type, bool isConstant, IList<Value> elements, MethodGroup methods)
        {
            Data = data;
            Type = type;
            IsConstant = isConstant;
            Elements = elements;
            Methods = methods;
        }

        // The literal null.
        public bool IsNullLiteral
        {
            get { return Type == null && Elements == null && Methods == null; }
        }

        // What a member returned. It counts as the object's own type; null counts as the member's declared type, and so
        // does a nullable value.
        public static Value Of(object data, Type declared)
        {
            if (data == null && declared == null)
                return Null;
            bool isOwn = data != null && (declared == null || Nullable.GetUnderlyingType(declared) == null);
            return As(data, isOwn ? data.GetType() : declared);
        }

        // A value that counts as the given type.
        public static Value As(object data, Type type)
        {
            return new Value(data, type, false, null, null);
        }

        public static Value Constant(object data)
        {
            return new Value(data, data.GetType(), true, null, null);
        }

        public static Value Array(IList<Value> elements)
        {
            return new Value(null, null, false, elements, null);
        }

        public static Value Group(MethodGroup methods)
        {
            return new Value(null, null, false, null, methods);
        }
    }
}
