using System;

namespace OrvWorkBench
{
    // Which types are numbers: the integer types, float, double and decimal; neither char nor enumerations.
    internal static class Numbers
    {
        public static bool IsNumeric(Type type)
        {
            if (type.IsEnum)
                return false;
            TypeCode code = Type.GetTypeCode(type);
            return code >= TypeCode.SByte && code <= TypeCode.Decimal;
        }
    }
}
