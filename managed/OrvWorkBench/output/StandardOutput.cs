using System;
using System.IO;
using System.Runtime.InteropServices;
using Microsoft.Win32.SafeHandles;

namespace OrvWorkBench
{
    // The process's standard output under a handle of the dispatcher's own: the user's code can close or replace the one
    // that everybody has.
    internal static class StandardOutput
    {
        private const int c_standardOutput = -11;
        private const int c_sameAccess = 2;

        // A stream that is not buffered. Where there is no handle to copy, the console's own stream.
        public static Stream Open()
        {
            Stream own = null;
            Guard.Run(delegate() { own = Path.DirectorySeparatorChar == '\\' ? OpenOnWindows() : UnixOutput.Open(); });
            return own ?? Console.OpenStandardOutput();
        }

        private static Stream OpenOnWindows()
        {
            IntPtr process = GetCurrentProcess();
            IntPtr copied;
            if (!DuplicateHandle(process, GetStdHandle(c_standardOutput), process, out copied, 0, false, c_sameAccess))
                return null;
            return new FileStream(new SafeFileHandle(copied, true), FileAccess.Write, 1, false);
        }

        [DllImport("kernel32")]
        private static extern IntPtr GetCurrentProcess();

        [DllImport("kernel32")]
        private static extern IntPtr GetStdHandle(int which);

        [DllImport("kernel32")]
        private static extern bool DuplicateHandle(IntPtr sourceProcess, IntPtr source, IntPtr targetProcess, out IntPtr target,
                                                   int access, bool isInherited, int options);
    }
}
