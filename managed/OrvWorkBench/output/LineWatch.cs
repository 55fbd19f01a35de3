using System.IO;

namespace OrvWorkBench
{
    // Hands on what is written and remembers whether the last of it ended a line.
    internal sealed class LineWatch : OutputStream
    {
        private readonly Stream m_stream;
        private bool m_isInLine;

        public LineWatch(Stream stream)
        {
            m_stream = stream;
        }

        // Whether a line has begun that has no end yet.
        public bool IsInLine
        {
            get { return m_isInLine; }
        }

        // Somebody else has ended the line.
        public void EndLine()
        {
            m_isInLine = false;
        }

        public override void Write(byte[] buffer, int offset, int count)
        {
            m_stream.Write(buffer, offset, count);
            if (count > 0)
                m_isInLine = buffer[offset + count - 1] != '\n';
        }

        public override void Flush()
        {
            m_stream.Flush();
        }

        protected override void Dispose(bool isDisposing)
        {
            if (isDisposing)
                m_stream.Close();
            base.Dispose(isDisposing);
        }
    }
}
