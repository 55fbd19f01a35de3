using System.IO;

namespace System
{
    public class ApplicationException : Exception
    {
    }

    public class ArgumentException : SystemException
    {
    }

    public class ArgumentNullException : ArgumentException
    {
        public ArgumentNullException(string paramName) { }
    }

    public class ArgumentOutOfRangeException : ArgumentException
    {
        public ArgumentOutOfRangeException(string paramName, object actualValue, string message) { }
    }

    public class ArithmeticException : SystemException
    {
    }

    public class BadImageFormatException : SystemException
    {
    }

    public class Exception
    {
        public Exception() { }
        public Exception(string message) { }
        public Exception(string message, Exception innerException) { }
        public Exception InnerException { get { throw null; } }
        public virtual string Message { get { throw null; } }
        public virtual string StackTrace { get { throw null; } }
        public new Type GetType() { throw null; }
    }

    public sealed class IndexOutOfRangeException : SystemException
    {
    }

    public class InvalidOperationException : SystemException
    {
        public InvalidOperationException() { }
        public InvalidOperationException(string message) { }
        public InvalidOperationException(string message, Exception innerException) { }
    }

    public class NullReferenceException : SystemException
    {
        public NullReferenceException() { }
    }

    public class NotSupportedException : SystemException
    {
        public NotSupportedException() { }
    }

    public class ObjectDisposedException : InvalidOperationException
    {
        internal ObjectDisposedException() { }
    }

    public class OutOfMemoryException : SystemException
    {
    }

    public class OverflowException : ArithmeticException
    {
    }

    public class SystemException : Exception
    {
    }

    public class TypeLoadException : SystemException
    {
    }

    public class UnauthorizedAccessException : SystemException
    {
    }
}

namespace System.IO
{
    public class DirectoryNotFoundException : IOException
    {
    }

    public class FileLoadException : IOException
    {
    }

    public class FileNotFoundException : IOException
    {
    }

    public class IOException : SystemException
    {
        public IOException() { }
        public IOException(string message) { }
    }
}

namespace System.Reflection
{
    public sealed class ReflectionTypeLoadException : SystemException
    {
        internal ReflectionTypeLoadException() { }
        public Exception[] LoaderExceptions { get { throw null; } }
        public Type[] Types { get { throw null; } }
    }

    public sealed class TargetInvocationException : ApplicationException
    {
        internal TargetInvocationException() { }
    }
}

namespace System.Security
{
    public class SecurityException : SystemException
    {
    }
}

namespace System.Threading
{
    public sealed class ThreadAbortException : SystemException
    {
        internal ThreadAbortException() { }
    }

    public class ThreadStateException : SystemException
    {
    }
}
