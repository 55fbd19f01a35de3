using System.Globalization;

namespace OrvWorkBench
{
    // Prints what the user's code raised.
    internal static class ExceptionReport
    {
        // Prints the exception, all that caused it, and where in the user's code each was raised.
        public static void Show(RaisedException raised)
        {
            Show("exception", raised);
        }

        private static void Show(string label, RaisedException raised)
        {
            string message = raised.Message == null ? " (its Message raises)" : ": " + raised.Message;
            Output.Line(label + " " + raised.Type + message);
            foreach (string frame in raised.Frames)
                Output.Line("    " + frame);
            for (int i = 0; i < raised.Causes.Count; ++i)
            {
                string which = raised.CauseCount == 1 ? "" : " (" + Number(i + 1) + " of " + Number(raised.CauseCount) + ")";
                Show("  caused by" + which, raised.Causes[i]);
            }
            if (raised.Causes.Count < raised.CauseCount)
                Output.Line("  there are more causes; they are not shown");
        }

        private static string Number(int number)
        {
            return number.ToString(CultureInfo.InvariantCulture);
        }
    }
}
