using System;
using System.IO;
using System.Runtime.InteropServices;
using System.Threading;

namespace OrvWorkBench
{
    // The standard output of a runtime of Unix, which Wine may have, under a number of the dispatcher's own. Such a
    // runtime's own streams take no number that it did not give itself.
    internal sealed class UnixOutput : OutputStream
    {
        private const int c_standardOutput = 1;
        // Errors after which one tries again: a signal came, or the reader is slow and the output does not wait.
        private const int c_interrupted = 4;
        private const int c_tryAgain = 11;

        private readonly int m_file;

        private UnixOutput(int file)
        {
            m_file = file;
        }

        // Null when there is no standard output.
        public static Stream Open()
        {
            int file = Duplicate(c_standardOutput);
            return file < 0 ? null : new UnixOutput(file);
        }

        public override void Write(byte[] buffer, int offset, int count)
        {
            while (count > 0)
            {
                byte[] rest = new byte[count];
                Array.Copy(buffer, offset, rest, 0, count);
                int written = (int)WriteFile(m_file, rest, (IntPtr)count).ToInt64();
                int error = written < 0 ? Marshal.GetLastWin32Error() : 0;
                if (error == c_interrupted || error == c_tryAgain)
                {
                    Thread.Sleep(1);
                    continue;
                }
                if (written <= 0)
                    throw new IOException("the standard output takes nothing more");
                offset += written;
                count -= written;
            }
        }

        [DllImport("libc", EntryPoint = "dup")]
        private static extern int Duplicate(int file);

        [DllImport("libc", EntryPoint = "write", SetLastError = true)]
        private static extern IntPtr WriteFile(int file, byte[] bytes, IntPtr count);
    }
}
