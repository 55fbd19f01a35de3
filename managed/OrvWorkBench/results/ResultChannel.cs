using System;
using System.IO;
using System.Text;

namespace OrvWorkBench
{
    // What a client learns about each command beside the response. A client that asks names a file in the environment of
    // the workbench that it starts; each command then adds one line to it before its method returns. What the user's
    // code prints does not get there, and without a file nothing is gathered.
    internal static class ResultChannel
    {
        private const string c_fileVariable = "ORV_WORKBENCH_RESULTS";

        private static readonly UTF8Encoding s_encoding = new UTF8Encoding(false);
        private static bool s_isAsked;
        private static Stream s_file;
        private static CommandRecord s_record;

        // The record of the command that is being carried out; null when nobody asks.
        public static CommandRecord Record
        {
            get { return s_record; }
        }

        // At the start of a command.
        public static void Begin()
        {
            Ask();
            s_record = s_file == null ? null : new CommandRecord();
        }

        // At its end.
        public static void End(ActionResult result)
        {
            CommandRecord record = s_record;
            s_record = null;
            if (record == null)
                return;
            byte[] line = s_encoding.GetBytes(record.ToJson(result) + "\n");
            try
            {
                s_file.Write(line, 0, line.Length);
                s_file.Flush();
            }
            catch (IOException)
            {
                // Half a line would be taken for the next command's.
                s_file = null;
            }
        }

        // Once.
        private static void Ask()
        {
            if (s_isAsked)
                return;
            s_isAsked = true;
            string path;
            s_file = ClientFile.Open(c_fileVariable, out path);
        }
    }
}
