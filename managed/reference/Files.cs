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
        public static void Delete(string path) { }
    }

    public enum FileMode
    {
        Open = 3
    }

    public enum FileShare
    {
        ReadWrite = 3,
        Delete = 4
    }

    public enum FileAccess
    {
        Read = 1,
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
        public FileStream(string path, FileMode mode, FileAccess access, FileShare share) { }
        public FileStream(SafeFileHandle handle, FileAccess access, int bufferSize, bool isAsync) { }
        public override bool CanRead { get { throw null; } }
        public override bool CanSeek { get { throw null; } }
        public override bool CanWrite { get { throw null; } }
        public override long Length { get { throw null; } }
        public override long Position { get { throw null; } set { } }
        public override void Flush() { }
        public override int Read(byte[] array, int offset, int count) { throw null; }
        public override long Seek(long offset, SeekOrigin origin) { throw null; }
        public override void SetLength(long value) { }
        public override void Write(byte[] array, int offset, int count) { }
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

    public enum SeekOrigin
    {
        Begin = 0
    }

    public abstract class Stream : MarshalByRefObject
    {
        public abstract bool CanRead { get; }
        public abstract bool CanSeek { get; }
        public abstract bool CanWrite { get; }
        public abstract long Length { get; }
        public abstract long Position { get; set; }
        public virtual void Close() { }
        protected virtual void Dispose(bool disposing) { }
        public abstract void Flush();
        public abstract int Read(byte[] buffer, int offset, int count);
        public abstract long Seek(long offset, SeekOrigin origin);
        public abstract void SetLength(long value);
        public abstract void Write(byte[] buffer, int offset, int count);
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
