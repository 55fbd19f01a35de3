using System.Collections.Generic;
using System.Collections.ObjectModel;

namespace System.Collections
{
    public struct DictionaryEntry
    {
        public object Key { get { throw null; } }
        public object Value { get { throw null; } }
    }

    public interface ICollection : IEnumerable
    {
        int Count { get; }
        bool IsSynchronized { get; }
        object SyncRoot { get; }
        void CopyTo(Array array, int index);
    }

    public interface IEnumerable
    {
        IEnumerator GetEnumerator();
    }

    public interface IEnumerator
    {
        object Current { get; }
        bool MoveNext();
        void Reset();
    }
}

namespace System.Collections.Generic
{
    public class Dictionary<TKey, TValue> : IEnumerable
    {
        public Dictionary() { }
        public Dictionary(int capacity) { }
        public int Count { get { throw null; } }
        public TValue this[TKey key] { get { throw null; } set { } }
        public KeyCollection Keys { get { throw null; } }
        public void Add(TKey key, TValue value) { }
        public void Clear() { }
        public bool ContainsKey(TKey key) { throw null; }
        public bool Remove(TKey key) { throw null; }
        public bool TryGetValue(TKey key, out TValue value) { throw null; }
        IEnumerator IEnumerable.GetEnumerator() { throw null; }

        public sealed class KeyCollection : IEnumerable<TKey>
        {
            internal KeyCollection() { }
            public Enumerator GetEnumerator() { throw null; }
            IEnumerator<TKey> IEnumerable<TKey>.GetEnumerator() { throw null; }
            IEnumerator IEnumerable.GetEnumerator() { throw null; }

            public struct Enumerator : IEnumerator<TKey>
            {
                public TKey Current { get { throw null; } }
                public void Dispose() { }
                public bool MoveNext() { throw null; }
                object IEnumerator.Current { get { throw null; } }
                void IEnumerator.Reset() { }
            }
        }
    }

    public interface ICollection<T> : IEnumerable<T>, IEnumerable
    {
        int Count { get; }
        bool IsReadOnly { get; }
        void Add(T item);
        void Clear();
        bool Contains(T item);
        void CopyTo(T[] array, int arrayIndex);
        bool Remove(T item);
    }

    public interface IEnumerable<T> : IEnumerable
    {
        new IEnumerator<T> GetEnumerator();
    }

    public interface IEnumerator<T> : IEnumerator, IDisposable
    {
        new T Current { get; }
    }

    public interface IList<T> : ICollection<T>, IEnumerable<T>, IEnumerable
    {
        T this[int index] { get; set; }
        int IndexOf(T item);
        void Insert(int index, T item);
        void RemoveAt(int index);
    }

    public struct KeyValuePair<TKey, TValue>
    {
    }

    public class List<T> : IList<T>
    {
        public List() { }
        public List(IEnumerable<T> collection) { }
        public int Count { get { throw null; } }
        public T this[int index] { get { throw null; } set { } }
        public void Add(T item) { }
        public void AddRange(IEnumerable<T> collection) { }
        public ReadOnlyCollection<T> AsReadOnly() { throw null; }
        public void Clear() { }
        public bool Contains(T item) { throw null; }
        public List<TOutput> ConvertAll<TOutput>(Converter<T, TOutput> converter) { throw null; }
        public void CopyTo(T[] array, int arrayIndex) { }
        public bool Exists(Predicate<T> match) { throw null; }
        public T Find(Predicate<T> match) { throw null; }
        public List<T> FindAll(Predicate<T> match) { throw null; }
        public int FindIndex(Predicate<T> match) { throw null; }
        public Enumerator GetEnumerator() { throw null; }
        public int IndexOf(T item) { throw null; }
        public void Insert(int index, T item) { }
        public bool Remove(T item) { throw null; }
        public void RemoveAt(int index) { }
        public void RemoveRange(int index, int count) { }
        public void Sort(Comparison<T> comparison) { }
        public T[] ToArray() { throw null; }
        public bool TrueForAll(Predicate<T> match) { throw null; }
        bool ICollection<T>.IsReadOnly { get { throw null; } }
        IEnumerator<T> IEnumerable<T>.GetEnumerator() { throw null; }
        IEnumerator IEnumerable.GetEnumerator() { throw null; }

        public struct Enumerator : IEnumerator<T>
        {
            public T Current { get { throw null; } }
            public void Dispose() { }
            public bool MoveNext() { throw null; }
            object IEnumerator.Current { get { throw null; } }
            void IEnumerator.Reset() { }
        }
    }
}

namespace System.Collections.ObjectModel
{
    public class ReadOnlyCollection<T> : IList<T>
    {
        internal ReadOnlyCollection() { }
        public int Count { get { throw null; } }
        public T this[int index] { get { throw null; } }
        public bool Contains(T value) { throw null; }
        public void CopyTo(T[] array, int index) { }
        public IEnumerator<T> GetEnumerator() { throw null; }
        public int IndexOf(T value) { throw null; }
        T IList<T>.this[int index] { get { throw null; } set { } }
        bool ICollection<T>.IsReadOnly { get { throw null; } }
        void ICollection<T>.Add(T value) { }
        void ICollection<T>.Clear() { }
        bool ICollection<T>.Remove(T value) { throw null; }
        void IList<T>.Insert(int index, T value) { }
        void IList<T>.RemoveAt(int index) { }
        IEnumerator IEnumerable.GetEnumerator() { throw null; }
    }
}
