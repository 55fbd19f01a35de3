using System;
using System.Collections.Generic;
using System.Globalization;
using System.Reflection;

namespace OrvWorkBench
{
    // The conversions of C#: says which exist and which is better, and carries them out.
    internal static class Conversions
    {
        // Whether the value converts to the type without a cast.
        public static bool Exists(Value value, Type target)
        {
            if (value.Elements != null)
                return ExistsForElements(value.Elements, target);
            if (value.Type == null)
                return !target.IsValueType || Nullable.GetUnderlyingType(target) != null;
            return ExistsStandard(value.Type, target) || ExistsConstant(value, target) ||
                   FindOperator("op_Implicit", value.Type, target) != null;
        }

        // Carries out a conversion that exists. Throws UserCodeError when a conversion operator does.
        public static object Convert(Value value, Type target)
        {
            if (value.Elements != null)
                return ConvertElements(value.Elements, target);
            if (value.Data == null)
                return null;
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            if (plain.IsInstanceOfType(value.Data) && ExistsStandard(value.Type, target))
                return value.Data;
            if (plain.IsEnum && ExistsConstant(value, target))
                return Enum.ToObject(plain, value.Data);
            if ((Numbers.IsNumeric(value.Type) || value.Type == typeof(char)) && Numbers.IsNumeric(plain) &&
                (ExistsStandard(value.Type, target) || ExistsConstant(value, target)))
                return ChangeNumber(value.Data, plain);
            return CallOperator(FindOperator("op_Implicit", value.Type, target), value);
        }

        // Carries out a cast. Throws CommandError when there is none or when the number does not fit, UserCodeError
        // when a conversion operator raises.
        public static Value Cast(Value value, Type target, int position)
        {
            if (Exists(value, target))
                return Value.As(Convert(value, target), target);
            if (value.Elements != null || value.Data == null)
                throw CannotCast(value, target, position);
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            Type source = value.Data.GetType();
            if ((Numbers.IsNumeric(plain) || plain == typeof(char) || plain.IsEnum) &&
                (Numbers.IsNumeric(source) || source == typeof(char) || source.IsEnum))
                return Value.As(CastNumber(value, plain, position), target);
            if (plain.IsInstanceOfType(value.Data))
                return Value.As(value.Data, target);
            MethodInfo operation = FindOperator("op_Explicit", source, target);
            if (operation == null)
                throw CannotCast(value, target, position);
            return Value.As(CallOperator(operation, value), target);
        }

        // 1 when the first type is the better one for the value, -1 when the second is, 0 when neither.
        public static int Compare(Value value, Type first, Type second)
        {
            if (first == second)
                return 0;
            if (value.Elements != null)
                return CompareForElements(value.Elements, first, second);
            if (value.Type == first)
                return 1;
            if (value.Type == second)
                return -1;
            return CompareTypes(first, second);
        }

        // The type of "{ ... }" by itself: an array of the one element type to which all others convert; null when
        // there is none.
        public static Type NaturalElementType(IList<Value> elements)
        {
            foreach (Value candidate in elements)
            {
                Type type = candidate.Elements != null ? NaturalArrayType(candidate.Elements) : candidate.Type;
                if (type != null && AllConvert(elements, type))
                    return type;
            }
            return null;
        }

        public static Type NaturalArrayType(IList<Value> elements)
        {
            Type element = NaturalElementType(elements);
            return element == null ? null : element.MakeArrayType();
        }

        // Whether there is a conversion that needs no operator of a class: to the same type, to a base class or
        // interface, to object, to a wider number, and each of these for nullable types.
        public static bool ExistsStandard(Type source, Type target)
        {
            if (source == target)
                return true;
            Type targetPlain = Nullable.GetUnderlyingType(target);
            if (targetPlain != null)
                return ExistsStandard(Nullable.GetUnderlyingType(source) ?? source, targetPlain);
            if (Widens(source, target))
                return true;
            return IsAssignable(source, target);
        }

        private static bool IsAssignable(Type source, Type target)
        {
            if (!target.IsAssignableFrom(source))
                return false;
            // The runtime also takes int[] for uint[]; C# does not.
            if (!source.IsArray || !target.IsArray)
                return true;
            Type from = source.GetElementType();
            Type to = target.GetElementType();
            return from == to || (!from.IsValueType && !to.IsValueType && IsAssignable(from, to));
        }

        private static bool Widens(Type source, Type target)
        {
            if (source.IsEnum || target.IsEnum)
                return false;
            TypeCode to = Type.GetTypeCode(target);
            switch (Type.GetTypeCode(source))
            {
            case TypeCode.SByte:
                return IsOneOf(to, TypeCode.Int16, TypeCode.Int32, TypeCode.Int64) || IsReal(to);
            case TypeCode.Byte:
                return IsOneOf(to, TypeCode.Int16, TypeCode.UInt16, TypeCode.Int32, TypeCode.UInt32, TypeCode.Int64,
                               TypeCode.UInt64) ||
                       IsReal(to);
            case TypeCode.Int16:
                return IsOneOf(to, TypeCode.Int32, TypeCode.Int64) || IsReal(to);
            case TypeCode.UInt16:
                return IsOneOf(to, TypeCode.Int32, TypeCode.UInt32, TypeCode.Int64, TypeCode.UInt64) || IsReal(to);
            case TypeCode.Char:
                return IsOneOf(to, TypeCode.UInt16, TypeCode.Int32, TypeCode.UInt32, TypeCode.Int64, TypeCode.UInt64) ||
                       IsReal(to);
            case TypeCode.Int32:
                return to == TypeCode.Int64 || IsReal(to);
            case TypeCode.UInt32:
                return IsOneOf(to, TypeCode.Int64, TypeCode.UInt64) || IsReal(to);
            case TypeCode.Int64:
            case TypeCode.UInt64:
                return IsReal(to);
            case TypeCode.Single:
                return to == TypeCode.Double;
            default:
                return false;
            }
        }

        private static bool IsReal(TypeCode code)
        {
            return IsOneOf(code, TypeCode.Single, TypeCode.Double, TypeCode.Decimal);
        }

        private static bool IsOneOf(TypeCode code, params TypeCode[] codes)
        {
            return Array.IndexOf(codes, code) >= 0;
        }

        // What C# allows for constants only: an int that fits the smaller type, a long as ulong, 0 as an enumeration.
        private static bool ExistsConstant(Value value, Type target)
        {
            if (!value.IsConstant)
                return false;
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            if (plain.IsEnum)
                return value.Data is int && (int)value.Data == 0;
            if (value.Data is long)
                return plain == typeof(ulong) && (long)value.Data >= 0;
            if (!(value.Data is int))
                return false;
            int number = (int)value.Data;
            switch (Type.GetTypeCode(plain))
            {
            case TypeCode.SByte:
                return number >= sbyte.MinValue && number <= sbyte.MaxValue;
            case TypeCode.Byte:
                return number >= byte.MinValue && number <= byte.MaxValue;
            case TypeCode.Int16:
                return number >= short.MinValue && number <= short.MaxValue;
            case TypeCode.UInt16:
                return number >= ushort.MinValue && number <= ushort.MaxValue;
            case TypeCode.UInt32:
            case TypeCode.UInt64:
                return number >= 0;
            default:
                return false;
            }
        }

        private static MethodInfo FindOperator(string name, Type source, Type target)
        {
            MethodInfo found = null;
            Type plainTarget = Nullable.GetUnderlyingType(target) ?? target;
            foreach (Type holder in new Type[] { source, plainTarget })
            {
                const BindingFlags flags = BindingFlags.Public | BindingFlags.Static | BindingFlags.FlattenHierarchy;
                foreach (MethodInfo method in holder.GetMethods(flags))
                {
                    // An explicit cast may use an implicit operator, which Exists has tried before.
                    if (method.Name != name)
                        continue;
                    ParameterInfo[] parameters = method.GetParameters();
                    if (parameters.Length != 1 || !ExistsStandard(source, parameters[0].ParameterType) ||
                        !ExistsStandard(method.ReturnType, target))
                        continue;
                    bool exact = parameters[0].ParameterType == source && method.ReturnType == plainTarget;
                    if (found == null || exact)
                        found = method;
                }
            }
            return found;
        }

        private static object CallOperator(MethodInfo operation, Value value)
        {
            object argument = Convert(value, operation.GetParameters()[0].ParameterType);
            return UserCode.Invoke(operation, null, new object[] { argument });
        }

        private static object ChangeNumber(object data, Type target)
        {
            if (data is char)
                data = (int)(char)data;
            return System.Convert.ChangeType(data, target, CultureInfo.InvariantCulture);
        }

        // Cuts a fraction off. Throws CommandError when the number does not fit.
        private static object CastNumber(Value value, Type target, int position)
        {
            object data = value.Data;
            if (data.GetType().IsEnum)
                data = System.Convert.ChangeType(data, Enum.GetUnderlyingType(data.GetType()), CultureInfo.InvariantCulture);
            if (data is char)
                data = (int)(char)data;
            Type plain = target.IsEnum ? Enum.GetUnderlyingType(target) : target;
            bool isWhole = plain != typeof(float) && plain != typeof(double) && plain != typeof(decimal);
            if (isWhole && data is decimal)
                data = decimal.Truncate((decimal)data);
            else if (isWhole && data is float)
                data = Math.Truncate((double)(float)data);
            else if (isWhole && data is double)
                data = Math.Truncate((double)data);
            try
            {
                object number = plain == typeof(char)
                                    ? (char)System.Convert.ToUInt16(data, CultureInfo.InvariantCulture)
                                    : System.Convert.ChangeType(data, plain, CultureInfo.InvariantCulture);
                return target.IsEnum ? Enum.ToObject(target, number) : number;
            }
            catch (OverflowException)
            {
                throw new CommandError(position, Formatter.Show(value.Data) + " does not fit '" + TypeNames.Show(target) + "'");
            }
        }

        private static CommandError CannotCast(Value value, Type target, int position)
        {
            return new CommandError(position, "cannot convert " + Describe(value) + " to '" + TypeNames.Show(target) + "'");
        }

        // The value's type for an error message.
        public static string Describe(Value value)
        {
            if (value.Elements != null)
                return "{...}";
            return value.Type == null ? "null" : "'" + TypeNames.Show(value.Type) + "'";
        }

        private static bool AllConvert(IList<Value> elements, Type target)
        {
            foreach (Value element in elements)
            {
                if (!Exists(element, target))
                    return false;
            }
            return true;
        }

        // The element type that an array must have to stand where the type is wanted; null when none may.
        private static Type ElementTypeFor(IList<Value> elements, Type target)
        {
            if (target.IsArray)
                return target.GetArrayRank() == 1 ? target.GetElementType() : null;
            if (target.IsGenericType && target.IsInterface && target.GetGenericArguments().Length == 1)
            {
                Type element = target.GetGenericArguments()[0];
                return target.IsAssignableFrom(element.MakeArrayType()) ? element : null;
            }
            Type natural = NaturalElementType(elements);
            return natural != null && target.IsAssignableFrom(natural.MakeArrayType()) ? natural : null;
        }

        private static bool ExistsForElements(IList<Value> elements, Type target)
        {
            if (target.IsArray && target.GetArrayRank() > 1)
                return MeasureBlock(elements, target.GetElementType(), target.GetArrayRank()) != null;
            Type element = ElementTypeFor(elements, target);
            return element != null && AllConvert(elements, element);
        }

        private static object ConvertElements(IList<Value> elements, Type target)
        {
            if (target.IsArray && target.GetArrayRank() > 1)
                return ConvertBlock(elements, target);
            Type element = ElementTypeFor(elements, target);
            Array array = Array.CreateInstance(element, elements.Count);
            for (int i = 0; i < elements.Count; ++i)
                array.SetValue(Convert(elements[i], element), i);
            return array;
        }

        // The length of each dimension, when the nested elements fill a rectangular array and all convert; null
        // otherwise.
        private static int[] MeasureBlock(IList<Value> elements, Type element, int rank)
        {
            int[] lengths = new int[rank];
            lengths[0] = elements.Count;
            if (rank == 1)
                return AllConvert(elements, element) ? lengths : null;
            for (int i = 0; i < elements.Count; ++i)
            {
                int[] inner = elements[i].Elements == null ? null : MeasureBlock(elements[i].Elements, element, rank - 1);
                if (inner == null)
                    return null;
                for (int d = 1; d < rank; ++d)
                {
                    if (i > 0 && lengths[d] != inner[d - 1])
                        return null;
                    lengths[d] = inner[d - 1];
                }
            }
            return lengths;
        }

        private static Array ConvertBlock(IList<Value> elements, Type target)
        {
            int rank = target.GetArrayRank();
            Type element = target.GetElementType();
            Array array = Array.CreateInstance(element, MeasureBlock(elements, element, rank));
            FillBlock(array, elements, element, new int[rank], 0);
            return array;
        }

        private static void FillBlock(Array array, IList<Value> elements, Type element, int[] at, int dimension)
        {
            for (int i = 0; i < elements.Count; ++i)
            {
                at[dimension] = i;
                if (dimension + 1 < at.Length)
                    FillBlock(array, elements[i].Elements, element, at, dimension + 1);
                else
                    array.SetValue(Convert(elements[i], element), at);
            }
        }

        private static int CompareForElements(IList<Value> elements, Type first, Type second)
        {
            Type natural = NaturalArrayType(elements);
            if (natural == first)
                return 1;
            if (natural == second)
                return -1;
            if (first.IsArray && second.IsArray && first.GetArrayRank() == 1 && second.GetArrayRank() == 1)
            {
                int better = 0;
                foreach (Value element in elements)
                {
                    int one = Compare(element, first.GetElementType(), second.GetElementType());
                    if (one * better < 0)
                        return 0;
                    better = one == 0 ? better : one;
                }
                if (better != 0)
                    return better;
            }
            return CompareTypes(first, second);
        }

        private static int CompareTypes(Type first, Type second)
        {
            bool forth = ExistsStandard(first, second);
            bool back = ExistsStandard(second, first);
            if (forth != back)
                return forth ? 1 : -1;
            if (IsSigned(first) && IsUnsigned(second))
                return 1;
            if (IsUnsigned(first) && IsSigned(second))
                return -1;
            return 0;
        }

        private static bool IsSigned(Type type)
        {
            return type == typeof(sbyte) || type == typeof(short) || type == typeof(int) || type == typeof(long);
        }

        private static bool IsUnsigned(Type type)
        {
            return type == typeof(byte) || type == typeof(ushort) || type == typeof(uint) || type == typeof(ulong);
        }
    }
}
