using System.Collections;
using System.Reflection;

namespace System
{
    public abstract class Array : IEnumerable
    {
        public static TOutput[] ConvertAll<TInput, TOutput>(TInput[] array, Converter<TInput, TOutput> converter) { throw null; }
        public static bool Exists<T>(T[] array, Predicate<T> match) { throw null; }
        public static T[] FindAll<T>(T[] array, Predicate<T> match) { throw null; }
        public static int FindIndex<T>(T[] array, Predicate<T> match) { throw null; }
        internal Array() { }
        public IEnumerator GetEnumerator() { throw null; }
        public static void Copy(Array sourceArray, int sourceIndex, Array destinationArray, int destinationIndex, int length) { }
        public int GetLength(int dimension) { throw null; }
        public int Length { get { throw null; } }
        public int Rank { get { throw null; } }
        public static Array CreateInstance(Type elementType, int length) { throw null; }
        public static Array CreateInstance(Type elementType, params int[] lengths) { throw null; }
        public int GetLowerBound(int dimension) { throw null; }
        public int GetUpperBound(int dimension) { throw null; }
        public object GetValue(params int[] indices) { throw null; }
        public static int IndexOf<T>(T[] array, T value) { throw null; }
        public void SetValue(object value, int index) { }
        public void SetValue(object value, params int[] indices) { }
    }

    public sealed class DBNull
    {
        internal DBNull() { }
    }

    public abstract class Enum : ValueType
    {
        public static Type GetUnderlyingType(Type enumType) { throw null; }
        public static object ToObject(Type enumType, object value) { throw null; }
        public static object ToObject(Type enumType, ulong value) { throw null; }
    }

    public interface IDisposable
    {
        void Dispose();
    }

    public abstract class MarshalByRefObject
    {
    }

    public static class Nullable
    {
        public static Type GetUnderlyingType(Type nullableType) { throw null; }
    }

    public struct Nullable<T> where T : struct
    {
        public Nullable(T value) { throw null; }
        public bool HasValue { get { throw null; } }
        public T Value { get { throw null; } }
        public T GetValueOrDefault() { throw null; }
    }

    public class Object
    {
        public Object() { }
        public virtual bool Equals(object obj) { throw null; }
        public virtual int GetHashCode() { throw null; }
        public Type GetType() { throw null; }
        protected object MemberwiseClone() { throw null; }
        public static bool ReferenceEquals(object objA, object objB) { throw null; }
        public virtual string ToString() { throw null; }
    }

    public struct RuntimeFieldHandle
    {
    }

    public struct RuntimeMethodHandle
    {
    }

    public struct RuntimeTypeHandle
    {
    }

    public abstract class ValueType
    {
    }

    public struct Void
    {
    }
}

namespace System.Runtime.CompilerServices
{
    public static class RuntimeHelpers
    {
        public static object GetObjectValue(object obj) { throw null; }
        public static void InitializeArray(Array array, RuntimeFieldHandle fldHandle) { }
    }
}
