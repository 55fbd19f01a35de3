using System.Text;

namespace System.IO
{
    public static class Directory
    {
        public static bool Exists(string path) { throw null; }
        public static string GetCurrentDirectory() { throw null; }
        public static string[] GetFileSystemEntries(string path) { throw null; }
    }

    public static class File
    {
        public static bool Exists(string path) { throw null; }
    }

    public static class Path
    {
        public static readonly char DirectorySeparatorChar;
        public static string Combine(string path1, string path2) { throw null; }
        public static string GetDirectoryName(string path) { throw null; }
        public static string GetFileName(string path) { throw null; }
        public static string GetFullPath(string path) { throw null; }
    }

    public abstract class Stream : MarshalByRefObject
    {
    }

    public class StreamWriter : TextWriter
    {
        public StreamWriter(Stream stream, Encoding encoding) { }
        public virtual bool AutoFlush { set { } }
    }

    public abstract class TextWriter : MarshalByRefObject
    {
        public virtual void Flush() { }
        public static TextWriter Synchronized(TextWriter writer) { throw null; }
        public virtual void WriteLine(string value) { }
    }
}
