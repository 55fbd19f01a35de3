using System;
using System.IO;

namespace OrvWorkBench
{
    // A file that a client has made to be told something, and named in the environment of the workbench that it starts.
    internal static class ClientFile
    {
        // Opens the file that the variable names; null when there is none, or it cannot be opened. The path is the
        // runtime's own. The variable goes: the programs that the user's code starts are not meant.
        public static Stream Open(string variable, out string path)
        {
            Stream file = null;
            string native = null;
            Guard.Run(delegate() {
                string named = Environment.GetEnvironmentVariable(variable);
                if (string.IsNullOrEmpty(named))
                    return;
                Environment.SetEnvironmentVariable(variable, null);
                native = NativePath.FromCommand(named);
                file = new FileStream(native, FileMode.Open, FileAccess.Write, FileShare.ReadWrite | FileShare.Delete);
            });
            path = native;
            return file;
        }
    }
}
