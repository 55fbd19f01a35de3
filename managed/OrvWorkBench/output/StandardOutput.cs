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
        private const int c_fileOfOutput = 1;

        // A stream that is not buffered. Where there is no handle to copy, the console's own stream.
        public static Stream Open()
        {
            IntPtr own = IntPtr.Zero;
            Exception raised = Guard.Run(delegate() { own = Copy(); });
            if (raised == null && own != IntPtr.Zero)
            {
                Stream stream = null;
                raised = Guard.Run(delegate() {
                    stream = new FileStream(new SafeFileHandle(own, true), FileAccess.Write, 1, false);
                });
                if (raised == null)
                    return stream;
            }
            return Console.OpenStandardOutput();
        }

        private static IntPtr Copy()
        {
            if (Path.DirectorySeparatorChar == '\\')
            {
                IntPtr process = GetCurrentProcess();
                IntPtr copied;
                return DuplicateHandle(process, GetStdHandle(c_standardOutput), process, out copied, 0, false, c_sameAccess)
                           ? copied
                           : IntPtr.Zero;
            }
            int file = CopyFile(c_fileOfOutput);
            return file < 0 ? IntPtr.Zero : (IntPtr)file;
        }

        [DllImport("kernel32")]
        private static extern IntPtr GetCurrentProcess();

        [DllImport("kernel32")]
        private static extern IntPtr GetStdHandle(int which);

        [DllImport("kernel32")]
        private static extern bool DuplicateHandle(IntPtr sourceProcess, IntPtr source, IntPtr targetProcess, out IntPtr target,
                                                   int access, bool isInherited, int options);

        // Under Wine with the runtime of Unix.
        [DllImport("libc", EntryPoint = "dup")]
        private static extern int CopyFile(int file);
    }
}
