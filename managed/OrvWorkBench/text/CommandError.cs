using System;

namespace OrvWorkBench
{
    // A command that cannot be carried out as it is written: what is wrong, where in the text, and, when one fits
    // better than the command's own failure code, the result code.
    [Serializable]
    internal sealed class CommandError : Exception
    {
        private readonly int m_position;
        private readonly ActionResult? m_result;

        // The position is an index into the command text; -1 when no place in it is to blame.
        public CommandError(int position, string message) : base(message)
        {
            m_position = position;
        }

        public CommandError(int position, ActionResult result, string message) : base(message)
        {
            m_position = position;
            m_result = result;
        }

        public int Position
        {
            get { return m_position; }
        }

        public ActionResult? Result
        {
            get { return m_result; }
        }
    }
}
