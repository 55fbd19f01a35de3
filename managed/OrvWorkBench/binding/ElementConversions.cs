using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // The conversions of "{ ... }", whose type follows from where it stands.
    internal static class ElementConversions
    {
        // The type of "{ ... }" by itself: an array of the one element type to which all others convert; null when
        // there is none.
        public static Type NaturalElementType(IList<Value> elements)
        {
            foreach (Value candidate in elements)
            {
                Type type = candidate.Elements != null ? NaturalArrayType(candidate.Elements) : candidate.Type;
                if (type != null && AllTypesConvert(elements, type))
                    return type;
            }
            return null;
        }

        // What has a type counts by that: not as the constant that it may be.
        private static bool AllTypesConvert(IList<Value> elements, Type target)
        {
            foreach (Value element in elements)
            {
                if (element.Type == null ? !Conversions.Exists(element, target) : !Conversions.ExistsForAny(element.Type, target))
                    return false;
            }
            return true;
        }

        public static Type NaturalArrayType(IList<Value> elements)
        {
            Type element = NaturalElementType(elements);
            return element == null ? null : element.MakeArrayType();
        }

        private static bool AllConvert(IList<Value> elements, Type target)
        {
            foreach (Value element in elements)
            {
                if (!Conversions.Exists(element, target))
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

        public static bool Exists(IList<Value> elements, Type target)
        {
            if (target.IsArray && target.GetArrayRank() > 1)
                return MeasureBlock(elements, target.GetElementType(), target.GetArrayRank()) != null;
            Type element = ElementTypeFor(elements, target);
            return element != null && AllConvert(elements, element);
        }

        public static object Convert(IList<Value> elements, Type target)
        {
            if (target.IsArray && target.GetArrayRank() > 1)
                return ConvertBlock(elements, target);
            Type element = ElementTypeFor(elements, target);
            Array array = Array.CreateInstance(element, elements.Count);
            for (int i = 0; i < elements.Count; ++i)
                array.SetValue(Conversions.Convert(elements[i], element), i);
            return array;
        }

        // The length of each dimension, when the nested elements fill a rectangular array and all convert; null
        // otherwise.
        public static int[] MeasureBlock(IList<Value> elements, Type element, int rank)
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
                    array.SetValue(Conversions.Convert(elements[i], element), at);
            }
        }

        public static int Compare(IList<Value> elements, Type first, Type second)
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
                    int one = Conversions.Compare(element, first.GetElementType(), second.GetElementType());
                    if (one * better < 0)
                        return 0;
                    better = one == 0 ? better : one;
                }
                if (better != 0)
                    return better;
            }
            return Conversions.CompareTypes(first, second);
        }
    }
}
