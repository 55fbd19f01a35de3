using System;
using System.IO;
using System.Runtime.InteropServices;
using System.Text;

namespace OrvWorkBench
{
    // Paths in commands are Windows paths. Under Wine with a runtime for Unix they are turned into what that runtime
    // understands; on Windows they stay as they are.
    internal static class NativePath
    {
        public static string FromCommand(string path)
        {
            return Path.DirectorySeparatorChar == '\\' ? path : ToUnix(path, WinePrefix());
        }

        // The drives of a Wine prefix are links in its folder "dosdevices". A path with slashes from the root on is a
        // Unix path already.
        internal static string ToUnix(string path, string winePrefix)
        {
            string slashed = path.Replace('\\', '/');
            bool hasDrive = slashed.Length > 1 && slashed[1] == ':' && char.IsLetter(slashed[0]) && slashed[0] < 128;
            if (hasDrive)
            {
                string drive = FolderOf(winePrefix, slashed.Substring(0, 2).ToLowerInvariant());
                // "C:name" is relative to the drive's own current directory, which a Unix program does not have.
                return MatchCase(drive, slashed.Substring(2));
            }
            if (path.StartsWith("\\", StringComparison.Ordinal) && !slashed.StartsWith("//", StringComparison.Ordinal))
                return MatchCase(FolderOf(winePrefix, "c:"), slashed);
            return slashed.StartsWith("/", StringComparison.Ordinal)
                       ? slashed
                       : MatchCase(Directory.GetCurrentDirectory(), slashed);
        }

        // What the link of a drive leads to, as the runtime then calls the files in it; the link where it leads nowhere.
        private static string FolderOf(string winePrefix, string drive)
        {
            const int longestPath = 4096;
            string link = Path.Combine(Path.Combine(winePrefix, "dosdevices"), drive);
            byte[] folder = new byte[longestPath + 1];
            try
            {
                if (ResolveLinks(link, folder).ToInt64() == 0)
                    return link;
            }
            catch (Exception)
            {
                // A system without that library.
                return link;
            }
            return new UTF8Encoding(false).GetString(folder, 0, Array.IndexOf(folder, (byte)0));
        }

        [DllImport("libc", EntryPoint = "realpath")]
        private static extern IntPtr ResolveLinks(string path, byte[] resolved);

        // On Windows upper and lower case are the same. A component that does not exist as written is looked for in any
        // case.
        private static string MatchCase(string folder, string rest)
        {
            string path = folder;
            foreach (string part in rest.Split(new char[] { '/' }, StringSplitOptions.RemoveEmptyEntries))
            {
                string next = Path.Combine(path, part);
                if (!File.Exists(next) && !Directory.Exists(next) && Directory.Exists(path))
                {
                    foreach (string entry in Directory.GetFileSystemEntries(path))
                    {
                        if (string.Equals(Path.GetFileName(entry), part, StringComparison.OrdinalIgnoreCase))
                        {
                            next = entry;
                            break;
                        }
                    }
                }
                path = next;
            }
            return path;
        }

        private static string WinePrefix()
        {
            string prefix = Environment.GetEnvironmentVariable("WINEPREFIX");
            if (!string.IsNullOrEmpty(prefix))
                return prefix;
            return Path.Combine(Environment.GetEnvironmentVariable("HOME") ?? "/", ".wine");
        }
    }
}
