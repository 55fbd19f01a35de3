using System;
using System.Collections;
using System.Globalization;

namespace OrvWorkBench
{
    // Reads a sequence because the user asks for it, and prints an element a line.
    internal static class Walk
    {
        public const int UsualCount = 100;

        // Leaves out the elements before the first one; reads no more than count from there. Returns false for what is
        // no sequence. Throws UserCodeError when reading raises.
        // What is cut off gets a name among the instances.
        public static bool Print(object sequence, int first, int count, Instances instances)
        {
            IEnumerator given = sequence as IEnumerator;
            IEnumerable items = sequence as IEnumerable;
            if (given == null && items == null)
                return false;
            IEnumerator all = given;
            if (items != null)
                UserCode.Run(delegate() { all = items.GetEnumerator(); });
            try
            {
                int end = count > int.MaxValue - first ? int.MaxValue : first + count;
                int at = 0;
                while (at < end && Next(all))
                {
                    if (at >= first)
                        PrintItem(IndexOf(sequence as Array, at), Current(all), instances);
                    ++at;
                }
                Output.Line("  " + Number(Math.Max(0, at - first)) + (at == end ? " read; there may be more from " + Number(end) + " on" : " read, to the end"));
            }
            finally
            {
                IDisposable disposable = all as IDisposable;
                if (given == null && disposable != null)
                    UserCode.Run(disposable.Dispose);
            }
            return true;
        }

        private static void PrintItem(string index, object item, Instances instances)
        {
            object key;
            object value;
            if (!Collections.IsPair(item, out key, out value))
            {
                PrintElement("  [" + index + "] ", item, instances);
                return;
            }
            ShownValue shown = Formatter.ShowElement(key);
            PrintElement("  [" + index + "] " + shown.Value + ": ", value, instances);
            shown.PrintWay(instances.NameFor(shown, key, null));
        }

        private static void PrintElement(string lead, object element, Instances instances)
        {
            ShownValue shown = Formatter.ShowElement(element);
            Output.Line(lead + shown.Value);
            shown.PrintWay(instances.NameFor(shown, element, null));
        }

        // In an array of several dimensions the index of the element with that number, elsewhere the number.
        private static string IndexOf(Array array, int at)
        {
            if (array == null || array.Rank == 1)
                return Number(at);
            string text = "";
            for (int i = array.Rank - 1; i >= 0; --i)
            {
                text = Number(array.GetLowerBound(i) + at % array.GetLength(i)) + (text.Length > 0 ? ", " : "") + text;
                at /= array.GetLength(i);
            }
            return text;
        }

        private static string Number(int number)
        {
            return number.ToString(CultureInfo.InvariantCulture);
        }

        private static bool Next(IEnumerator all)
        {
            bool isThere = false;
            UserCode.Run(delegate() { isThere = all.MoveNext(); });
            return isThere;
        }

        private static object Current(IEnumerator all)
        {
            object current = null;
            UserCode.Run(delegate() { current = all.Current; });
            return current;
        }
    }
}
