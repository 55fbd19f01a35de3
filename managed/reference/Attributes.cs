using System.Diagnostics;

namespace System
{
    [AttributeUsage(AttributeTargets.All)]
    public abstract class Attribute
    {
        protected Attribute() { }
    }

    public enum AttributeTargets
    {
        All = 32767
    }

    public sealed class AttributeUsageAttribute : Attribute
    {
        public AttributeUsageAttribute(AttributeTargets validOn) { }
    }

    public sealed class ParamArrayAttribute : Attribute
    {
        public ParamArrayAttribute() { }
    }

    public sealed class SerializableAttribute : Attribute
    {
        public SerializableAttribute() { }
    }
}

namespace System.Diagnostics
{
    public sealed class DebuggableAttribute : Attribute
    {
        public DebuggableAttribute(DebuggableAttribute.DebuggingModes modes) { }

        public enum DebuggingModes
        {
            None = 0,
            Default = 1,
            IgnoreSymbolStoreSequencePoints = 2,
            EnableEditAndContinue = 4,
            DisableOptimizations = 256
        }
    }

    public sealed class DebuggerBrowsableAttribute : Attribute
    {
        public DebuggerBrowsableAttribute(DebuggerBrowsableState state) { }
    }

    public enum DebuggerBrowsableState
    {
        Never = 0
    }

    public sealed class DebuggerHiddenAttribute : Attribute
    {
        public DebuggerHiddenAttribute() { }
    }
}

namespace System.Reflection
{
    public sealed class AssemblyProductAttribute : Attribute
    {
        public AssemblyProductAttribute(string product) { }
    }

    public sealed class AssemblyTitleAttribute : Attribute
    {
        public AssemblyTitleAttribute(string title) { }
    }

    public sealed class AssemblyVersionAttribute : Attribute
    {
        public AssemblyVersionAttribute(string version) { }
    }

    public sealed class DefaultMemberAttribute : Attribute
    {
        public DefaultMemberAttribute(string memberName) { }
    }
}

namespace System.Runtime.CompilerServices
{
    public sealed class CompilerGeneratedAttribute : Attribute
    {
        public CompilerGeneratedAttribute() { }
    }

    public static class IsVolatile
    {
    }

    public sealed class IndexerNameAttribute : Attribute
    {
        public IndexerNameAttribute(string indexerName) { }
    }

    public sealed class MethodImplAttribute : Attribute
    {
        public MethodImplAttribute(MethodImplOptions methodImplOptions) { }
    }

    public enum MethodImplOptions
    {
        NoInlining = 8,
        NoOptimization = 64
    }

    public sealed class RuntimeCompatibilityAttribute : Attribute
    {
        public RuntimeCompatibilityAttribute() { }
        public bool WrapNonExceptionThrows { get { throw null; } set { } }
    }
}

namespace System.Runtime.InteropServices
{
    public sealed class DllImportAttribute : Attribute
    {
        public string EntryPoint;
        public bool SetLastError;
        public DllImportAttribute(string dllName) { }
    }

    public static class Marshal
    {
        public static int GetLastWin32Error() { throw null; }
    }

    public sealed class OutAttribute : Attribute
    {
        public OutAttribute() { }
    }
}
