using System;
using System.Reflection;
using System.Runtime.CompilerServices;

namespace OrvWorkBench
{
    // The conversions of C#: says which exist and which is better, and carries them out.
    internal static class Conversions
    {
        // Whether the value converts to the type without a cast.
        public static bool Exists(Value value, Type target)
        {
            if (value.Elements != null)
                return ElementConversions.Exists(value.Elements, target);
            if (value.Methods != null)
                return value.Methods.Make(target) != null;
            if (value.Type == null)
                return !target.IsValueType || Nullable.GetUnderlyingType(target) != null;
            return ExistsStandard(value.Type, target) || NumericConversions.ExistsConstant(value, target) ||
                   UserConversions.Find(value.Type, target, false) != null;
        }

        // Carries out a conversion that exists. Throws UserCodeError when a conversion operator does.
        public static object Convert(Value value, Type target)
        {
            if (value.Elements != null)
                return ElementConversions.Convert(value.Elements, target);
            if (value.Methods != null)
                return value.Methods.Make(target);
            if (value.Type == null)
                return null;
            bool isStandard = ExistsStandard(value.Type, target);
            if (!isStandard && !NumericConversions.ExistsConstant(value, target))
                return UserConversions.Apply(UserConversions.Find(value.Type, target, false), value, target, -1);
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            if (value.Data == null)
                return null;
            if (plain.IsEnum && isStandard == false)
                return Enum.ToObject(plain, value.Data);
            if (Numbers.IsNumeric(plain) && plain != value.Data.GetType())
                return NumericConversions.Change(value.Data, plain);
            // A structure that becomes an object is copied into it.
            return value.Type.IsValueType && !target.IsValueType ? RuntimeHelpers.GetObjectValue(value.Data) : value.Data;
        }

        // Carries out a cast. Throws CommandError when there is none or when the number does not fit, UserCodeError
        // when a conversion operator raises.
        public static Value Cast(Value value, Type target, int position)
        {
            if (Exists(value, target))
                return Typed(Convert(value, target), target, value.IsConstant);
            if (value.Type == null)
                throw CannotCast(value, target, position);
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            Type source = Nullable.GetUnderlyingType(value.Type) ?? value.Type;
            if (NumericConversions.IsNumberLike(plain) && NumericConversions.IsNumberLike(source))
                return value.Data == null ? CastNull(value, target, position)
                                          : Typed(NumericConversions.Cast(value.Data, plain, position), target, value.IsConstant);
            if (source == plain || IsReferenceCast(value.Type, target))
                return value.Data == null ? CastNull(value, target, position) : CastObject(value, target, position);
            MethodInfo operation = UserConversions.Find(value.Type, target, true);
            if (operation == null)
                throw CannotCast(value, target, position);
            return Value.As(UserConversions.Apply(operation, value, target, position), target);
        }

        private static Value Typed(object data, Type type, bool isConstant)
        {
            return isConstant && data != null && data.GetType() == type ? Value.Constant(data) : Value.As(data, type);
        }

        // A cast of a null that counts as some type; only what may be null can take it.
        private static Value CastNull(Value value, Type target, int position)
        {
            if (target.IsValueType && Nullable.GetUnderlyingType(target) == null)
                throw new CommandError(position, "the value is null, which '" + TypeNames.Show(target) + "' cannot be");
            return Value.As(null, target);
        }

        // Whether C# lets a cast try, at run time, whether the object is of the type.
        private static bool IsReferenceCast(Type source, Type target)
        {
            if (source.IsValueType)
                return false;
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            return source.IsAssignableFrom(plain) || (source.IsInterface && !plain.IsSealed) || (plain.IsInterface && !source.IsSealed);
        }

        private static Value CastObject(Value value, Type target, int position)
        {
            Type plain = Nullable.GetUnderlyingType(target) ?? target;
            Type own = value.Data.GetType();
            if (plain.IsInstanceOfType(value.Data) && (!plain.IsValueType || own == plain))
                return Value.As(value.Data, target);
            // The runtime takes an enumeration out of its box as the number that it is, and the other way round.
            if (own.IsEnum && Enum.GetUnderlyingType(own) == plain)
                return Value.As(NumericConversions.Cast(value.Data, plain, position), target);
            if (plain.IsEnum && Enum.GetUnderlyingType(plain) == own)
                return Value.As(Enum.ToObject(plain, value.Data), target);
            throw new CommandError(position, "the object is no '" + TypeNames.Show(target) + "': it is '" + TypeNames.Show(own) + "'");
        }

        // 1 when the first type is the better one for the value, -1 when the second is, 0 when neither.
        public static int Compare(Value value, Type first, Type second)
        {
            if (first == second)
                return 0;
            if (value.Elements != null)
                return ElementConversions.Compare(value.Elements, first, second);
            if (value.Type == first && first != null)
                return 1;
            if (value.Type == second && second != null)
                return -1;
            return CompareTypes(first, second);
        }

        public static int CompareTypes(Type first, Type second)
        {
            bool forth = ExistsForAny(first, second);
            bool back = ExistsForAny(second, first);
            if (forth != back)
                return forth ? 1 : -1;
            if (IsSigned(first) && IsUnsigned(second))
                return 1;
            if (IsUnsigned(first) && IsSigned(second))
                return -1;
            return 0;
        }

        // Whether every value of the source converts to the target without a cast; a constant may do so where others do not.
        public static bool ExistsForAny(Type source, Type target)
        {
            return ExistsStandard(source, target) || UserConversions.Find(source, target, false) != null;
        }

        private static bool IsSigned(Type type)
        {
            return type == typeof(sbyte) || type == typeof(short) || type == typeof(int) || type == typeof(long);
        }

        private static bool IsUnsigned(Type type)
        {
            return type == typeof(byte) || type == typeof(ushort) || type == typeof(uint) || type == typeof(ulong);
        }

        // Whether there is a conversion that needs no operator of a class: to the same type, to a base class or
        // interface, to object, to a wider number, and each of these for nullable types.
        public static bool ExistsStandard(Type source, Type target)
        {
            if (source == target)
                return true;
            Type plainSource = Nullable.GetUnderlyingType(source);
            Type plainTarget = Nullable.GetUnderlyingType(target);
            if (plainTarget != null)
                return ExistsStandard(plainSource ?? source, plainTarget);
            if (plainSource != null)
                return !target.IsValueType && IsAssignable(plainSource, target);
            return NumericConversions.Widens(source, target) || IsAssignable(source, target);
        }

        private static bool IsAssignable(Type source, Type target)
        {
            // Between value types there is no other way than those of numbers.
            if (target.IsValueType || !target.IsAssignableFrom(source))
                return false;
            if (!source.IsArray)
                return true;
            // The runtime also takes int[] for uint[] and its interfaces; C# does not.
            Type from = source.GetElementType();
            Type to = target.IsArray ? target.GetElementType() : OneTypeArgument(target);
            return to == null || from == to || (!from.IsValueType && !to.IsValueType && IsAssignable(from, to));
        }

        private static Type OneTypeArgument(Type type)
        {
            return type.IsGenericType && type.GetGenericArguments().Length == 1 ? type.GetGenericArguments()[0] : null;
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
            if (value.Methods != null)
                return "the method '" + value.Methods.Name + "'";
            return value.Type == null ? "null" : "'" + TypeNames.Show(value.Type) + "'";
        }
    }
}
