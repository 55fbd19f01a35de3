using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // What the last command did, for whoever looks at it in a debugger.
    internal static class LastCommand
    {
        private static string s_text = "";
        private static ActionResult s_outcome;
        private static object s_target;
        private static object s_result;
        private static Exception s_exception;

        // As a user writes it: "invoke room.Raise(2)"; empty before the first one.
        public static string Text
        {
            get { return s_text; }
        }

        public static ActionResult Outcome
        {
            get { return s_outcome; }
            set { s_outcome = value; }
        }

        // The object whose member was called, read or set; null for a static one and for a new object.
        public static object Target
        {
            get { return s_target; }
            set { s_target = value; }
        }

        // What came of it; null for nothing.
        public static object Result
        {
            get { return s_result; }
            set { s_result = value; }
        }

        // What the called code raised, or why the command was refused; null when it went well.
        public static Exception Exception
        {
            get { return s_exception; }
            set { s_exception = value; }
        }

        // Forgets the one before: what only that one held may go.
        public static void Begin(string name, string text)
        {
            s_text = text.Length == 0 ? name : name + " " + text;
            s_outcome = ActionResult.Success;
            s_target = null;
            s_result = null;
            s_exception = null;
        }
    }
}
