using System;
using System.IO;
using System.Text;

namespace OrvReferences
{
    // A managed file's metadata, read as plain data: nothing of it is loaded, so a file for another runtime will do.
    internal sealed class MetadataFile
    {
        private readonly byte[] m_bytes;
        private readonly string m_runtimeVersion;
        private readonly int[] m_rows = new int[64];
        private readonly int[] m_offsets = new int[TableLayout.Count];
        private readonly int[][] m_widths = new int[TableLayout.Count][];
        private int m_tables;
        private int m_strings;
        private int m_blobs;

        // Throws BadImageFormatException when the file holds no metadata.
        public MetadataFile(string path)
        {
            m_bytes = File.ReadAllBytes(path);
            int root = FindMetadata(path);
            int versionBytes = Int32(root + 12);
            m_runtimeVersion = Encoding.UTF8.GetString(m_bytes, root + 16, versionBytes).TrimEnd('\0');
            FindStreams(root, root + 16 + versionBytes);
            FindTables();
        }

        // The runtime that the file is for, as "v2.0.50727".
        public string RuntimeVersion
        {
            get { return m_runtimeVersion; }
        }

        public int Rows(int table)
        {
            return m_rows[table];
        }

        // Rows count from 1, columns from 0.
        public int Cell(int table, int row, int column)
        {
            int[] widths = m_widths[table];
            int offset = m_offsets[table];
            for (int i = 0; i < widths.Length; ++i)
                offset += widths[i] * (row - 1);
            for (int i = 0; i < column; ++i)
                offset += widths[i];
            return widths[column] == 2 ? UInt16(offset) : Int32(offset);
        }

        public string Text(int table, int row, int column)
        {
            int start = m_strings + Cell(table, row, column);
            return Encoding.UTF8.GetString(m_bytes, start, Array.IndexOf<byte>(m_bytes, 0, start) - start);
        }

        public byte[] Blob(int table, int row, int column)
        {
            int start = m_blobs + Cell(table, row, column);
            int length = SignatureReader.ReadNumber(m_bytes, ref start);
            byte[] blob = new byte[length];
            Array.Copy(m_bytes, start, blob, 0, length);
            return blob;
        }

        private int UInt16(int offset)
        {
            return BitConverter.ToUInt16(m_bytes, offset);
        }

        private int Int32(int offset)
        {
            return BitConverter.ToInt32(m_bytes, offset);
        }

        // By the header of the portable executable and the one of the managed part.
        private int FindMetadata(string path)
        {
            int header = Int32(0x3C);
            int optional = header + 24;
            int sections = optional + UInt16(header + 20);
            int directories = optional + (UInt16(optional) == 0x20B ? 112 : 96);
            int managed = Int32(directories + 14 * 8);
            if (managed == 0)
                throw new BadImageFormatException("no managed file", path);
            int count = UInt16(header + 6);
            return FileOffset(Int32(FileOffset(managed, sections, count) + 8), sections, count);
        }

        private int FileOffset(int address, int sections, int count)
        {
            for (int section = sections; section < sections + count * 40; section += 40)
            {
                int start = Int32(section + 12);
                if (address >= start && address < start + Math.Max(Int32(section + 8), Int32(section + 16)))
                    return address - start + Int32(section + 20);
            }
            throw new BadImageFormatException("an address lies in no section");
        }

        private void FindStreams(int root, int at)
        {
            int count = UInt16(at + 2);
            at += 4;
            for (int i = 0; i < count; ++i)
            {
                int start = root + Int32(at);
                int end = Array.IndexOf<byte>(m_bytes, 0, at + 8);
                string name = Encoding.ASCII.GetString(m_bytes, at + 8, end - at - 8);
                if (name == "#~")
                    m_tables = start;
                else if (name == "#Strings")
                    m_strings = start;
                else if (name == "#Blob")
                    m_blobs = start;
                // The name fills up to a multiple of four bytes, its terminator included.
                at += 8 + (name.Length / 4 + 1) * 4;
            }
        }

        private void FindTables()
        {
            ulong present = BitConverter.ToUInt64(m_bytes, m_tables + 8);
            int at = m_tables + 24;
            for (int table = 0; table < m_rows.Length; ++table)
            {
                if ((present >> table & 1) == 0)
                    continue;
                m_rows[table] = Int32(at);
                at += 4;
            }
            TableLayout layout = new TableLayout(m_rows, m_bytes[m_tables + 6]);
            for (int table = 0; table < TableLayout.Count; ++table)
            {
                m_offsets[table] = at;
                m_widths[table] = layout.Widths(table);
                foreach (int width in m_widths[table])
                    at += width * m_rows[table];
            }
        }
    }
}
