using System;
using System.Globalization;
using System.Text;

namespace OrvWorkBench
{
    // Prints what is wrong with a command.
    internal static class CommandErrorReport
    {
        private const int c_greatestEcho = 100;

        // Prints the message, then the part of the text around the position with a mark under it. A position of -1
        // means no place: only the message is printed.
        public static void Show(string text, int position, string message)
        {
            if (position < 0 || text.Trim().Length == 0)
            {
                Output.Line("error: " + message);
                return;
            }
            Output.Line("error at column " + (position + 1).ToString(CultureInfo.InvariantCulture) + ": " + message);
            int start = Math.Max(0, Math.Min(position, text.Length) - c_greatestEcho / 2);
            int end = Math.Min(text.Length, start + c_greatestEcho);
            string lead = start > 0 ? "..." : "";
            Output.Line("  " + lead + Blanked(text.Substring(start, end - start)) + (end < text.Length ? "..." : ""));
            Output.Line("  " + new string(' ', lead.Length + Math.Min(position, text.Length) - start) + "^");
        }

        // The text with a blank for each control character: the mark on the next line must stay under its column.
        private static string Blanked(string text)
        {
            StringBuilder printable = new StringBuilder(text);
            for (int i = 0; i < printable.Length; ++i)
            {
                if (char.IsControl(printable[i]))
                    printable[i] = ' ';
            }
            return printable.ToString();
        }
    }
}
