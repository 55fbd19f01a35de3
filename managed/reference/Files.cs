using System;
using System.Text;
using Microsoft.Win32.SafeHandles;

namespace System.IO
{
    public static class Directory
    {
        public static string[] GetFiles(string path, string searchPattern) { throw null; }
        public static bool Exists(string path) { throw null; }
        public static string GetCurrentDirectory() { throw null; }
        public static string[] GetFileSystemEntries(string path) { throw null; }
    }

    public static class File
    {
        public static bool Exists(string path) { throw null; }
    }

    public enum FileAccess
    {
        Write = 2
    }

    public sealed class FileInfo : FileSystemInfo
    {
        public FileInfo(string fileName) { }
        public long Length { get { throw null; } }
    }

    public abstract class FileSystemInfo : MarshalByRefObject
    {
        public DateTime LastWriteTimeUtc { get { throw null; } }
    }

    public class FileStream : Stream
    {
        public FileStream(SafeFileHandle handle, FileAccess access, int bufferSize, bool isAsync) { }
    }

    public static class Path
    {
        public static readonly char DirectorySeparatorChar;
        public static string Combine(string path1, string path2) { throw null; }
        public static string GetDirectoryName(string path) { throw null; }
        public static string GetFileName(string path) { throw null; }
        public static string GetFileNameWithoutExtension(string path) { throw null; }
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

namespace Microsoft.Win32.SafeHandles
{
    public sealed class SafeFileHandle
    {
        public SafeFileHandle(IntPtr preexistingHandle, bool ownsHandle) { }
    }
}
