using System.Collections.Generic;

namespace OrvWorkBench
{
    // What is known of one command at its end.
    internal sealed class CommandRecord
    {
        // A string that is longer is only there as it is shown.
        private const int c_greatestString = 1000000;

        private struct NamedValue
        {
            public string Name;
            public ShownValue Value;
        }

        private readonly List<NamedValue> m_references = new List<NamedValue>();
        private readonly List<string[]> m_entries = new List<string[]>();
        private ShownValue? m_value;
        private string m_made;
        private string m_assembly;
        private string m_file;
        private string m_error;
        private int m_position;
        private RaisedException m_raised;

        // The value that the command gave. The name is that of an instance that was made for it, else null.
        public void SetValue(ShownValue value, string made)
        {
            m_value = value;
            m_made = made;
        }

        // The value of an out or ref argument, by the name of the variable.
        public void AddReference(string name, ShownValue value)
        {
            NamedValue reference = new NamedValue();
            reference.Name = name;
            reference.Value = value;
            m_references.Add(reference);
        }

        // An entry of a list that was asked for: pairs of name and text.
        public void AddEntry(string[] fields)
        {
            m_entries.Add(fields);
        }

        // The assembly that a load found.
        public void SetAssembly(string name, string file)
        {
            m_assembly = name;
            m_file = file;
        }

        // Why the command was not carried out. The position is an index into the command text, -1 for none.
        public void SetError(string message, int position)
        {
            m_error = message;
            m_position = position;
        }

        // What the called code raised.
        public void SetRaised(RaisedException raised)
        {
            m_raised = raised;
        }

        public string ToJson(ActionResult result)
        {
            JsonText json = new JsonText().BeginObject().Name("result").Number((int)result);
            if (m_made != null)
                json.Name("made").Text(m_made);
            if (m_value != null)
                Append(json.Name("value"), m_value.Value, null);
            if (m_references.Count > 0)
                AppendReferences(json.Name("references"));
            if (m_entries.Count > 0)
                AppendEntries(json.Name("list"));
            if (m_assembly != null)
                json.Name("assembly").BeginObject().Name("name").Text(m_assembly).Name("file").Text(m_file).EndObject();
            if (m_error != null)
                AppendError(json.Name("error"));
            if (m_raised != null)
                Append(json.Name("exception"), m_raised);
            return json.EndObject().ToString();
        }

        private void AppendReferences(JsonText json)
        {
            json.BeginArray();
            foreach (NamedValue reference in m_references)
                Append(json, reference.Value, reference.Name);
            json.EndArray();
        }

        private void AppendEntries(JsonText json)
        {
            json.BeginArray();
            foreach (string[] fields in m_entries)
            {
                json.BeginObject();
                for (int i = 0; i + 1 < fields.Length; i += 2)
                    json.Name(fields[i]).Text(fields[i + 1]);
                json.EndObject();
            }
            json.EndArray();
        }

        private static void Append(JsonText json, ShownValue value, string name)
        {
            json.BeginObject();
            if (name != null)
                json.Name("name").Text(name);
            json.Name("type").Text(value.Type).Name("text").Text(value.Value);
            if (value.Whole != null && value.Whole.Length <= c_greatestString)
                json.Name("string").Text(value.Whole);
            json.EndObject();
        }

        private void AppendError(JsonText json)
        {
            json.BeginObject().Name("message").Text(m_error);
            if (m_position >= 0)
                json.Name("column").Number(m_position + 1);
            json.EndObject();
        }

        private static void Append(JsonText json, RaisedException raised)
        {
            json.BeginObject().Name("type").Text(raised.Type).Name("message").Text(raised.Message).Name("frames").BeginArray();
            foreach (string frame in raised.Frames)
                json.Text(frame);
            json.EndArray();
            if (raised.Causes.Count > 0)
            {
                json.Name("causes").BeginArray();
                foreach (RaisedException cause in raised.Causes)
                    Append(json, cause);
                json.EndArray();
            }
            json.EndObject();
        }
    }
}
