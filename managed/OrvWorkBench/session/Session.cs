using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The commands, one method each. They throw CommandError and UserCodeError; CInvoke turns those into results.
    internal sealed class Session
    {
        private readonly Assemblies m_assemblies = new Assemblies();
        private readonly Instances m_instances = new Instances();
        private readonly EventWatches m_watches;
        private readonly Usings m_usings = new Usings();
        private readonly TypeFinder m_types;
        private readonly Evaluator m_evaluator;

        public Session()
        {
            m_watches = new EventWatches(m_instances);
            m_types = new TypeFinder(m_assemblies, m_usings, typeof(Look));
            m_evaluator = new Evaluator(m_instances, m_types);
            Look.At = new Surroundings(m_assemblies, m_instances, m_usings, m_types, m_evaluator, m_watches.CanAdd);
            AppDomain.CurrentDomain.UnhandledException += ShowUnhandled;
        }

        // Prints an exception that ended a thread of the user's code. The program's configuration file keeps the
        // process alive.
        private static void ShowUnhandled(object sender, UnhandledExceptionEventArgs raised)
        {
            Exception error = raised.ExceptionObject as Exception;
            Output.Line("on a thread of its own:");
            if (error != null)
                ExceptionReport.Show(new RaisedException(error));
        }

        public ActionResult Load(string text)
        {
            Assembly assembly;
            string difference;
            bool isNew = m_assemblies.Load(Parser.ParseLoad(text), out assembly, out difference);
            Output.Line((isNew ? "loaded " : "already loaded: ") + assembly.FullName);
            if (ResultChannel.Record != null)
                ResultChannel.Record.SetAssembly(assembly.FullName, assembly.Location);
            if (isNew)
                Output.Line("  from " + assembly.Location);
            if (difference != null)
                Output.Line("  " + difference);
            if (!isNew)
                return ActionResult.AssemblyExists;
            Output.Line("  " + Counted(new List<Type>(TypeFinder.PublicTypes(assembly)).Count, "public type"));
            return ActionResult.LoadedAssemblyOk;
        }

        public ActionResult Create(string text)
        {
            ValueCommand command = Parser.ParseCreate(text);
            if (IsTaken(command))
                return ActionResult.TypeExists;
            Value value = m_evaluator.Evaluate(command.Value);
            m_instances.Add(command.Name, value);
            ShowMade(command.Name, value);
            return ActionResult.CreatedType;
        }

        public ActionResult Invoke(string text)
        {
            ValueCommand command = Parser.ParseInvoke(text);
            if (IsTaken(command))
                return ActionResult.TypeExists;
            Value value = m_evaluator.Evaluate(command.Value);
            if (value != null)
                Keep(command, value);
            else if (Look.WasAsked && command.Name == null)
                return ActionResult.InvokedOk;
            else if (command.Name != null)
                Output.Line("=> void; nothing to keep as " + command.Name);
            else
                Output.Line("=> void");
            return ActionResult.InvokedOk;
        }

        public ActionResult Get(string text)
        {
            ValueCommand command = Parser.ParseGet(text);
            if (IsTaken(command))
                return ActionResult.TypeExists;
            Keep(command, m_evaluator.Evaluate(command.Value));
            return ActionResult.Success;
        }

        public ActionResult Set(string text)
        {
            SetCommand command = Parser.ParseSet(text);
            if (command.Using != null)
                return Use(command.Using);
            if (command.Operator == "=")
            {
                object value = m_evaluator.Assign(command.Target, command.Value);
                LastCommand.Result = value;
                string target = text.Substring(0, command.OperatorPosition).Trim();
                Record(ShownValue.Print(target + " = ", value, null, target), null);
                return ActionResult.Success;
            }
            NameExpression watch = command.Value as NameExpression;
            if (watch == null || watch.Assembly != null || watch.Part.Name != "watch")
                throw new CommandError(command.Value.Position, "expected watch after '" + command.Operator + "'");
            object source;
            EventInfo found = m_evaluator.FindEvent(command.Target, out source);
            if (command.Operator == "+=")
                m_watches.Add(found, source, command.Target.Position);
            else
                m_watches.Remove(found, source, command.Target.Position);
            return ActionResult.Success;
        }

        private ActionResult Use(UsingCommand command)
        {
            if (command.Alias != null)
            {
                Type type = m_types.Resolve(command.Name);
                m_usings.Add(command.Alias, type);
                Output.Line("using " + command.Alias + " = " + TypeNames.Show(type));
                return ActionResult.Success;
            }
            string name = DottedName(command);
            if (!m_types.HasNamespace(name))
                throw new CommandError(command.Position, "there is no namespace '" + name + "' with public types");
            m_usings.Add(name);
            Output.Line("using " + name);
            return ActionResult.Success;
        }

        private ActionResult StopUsing(UsingCommand command)
        {
            string name = DottedName(command);
            if (!m_usings.Remove(name))
                throw new CommandError(command.Position, "there is no using of '" + name + "'");
            Output.Line("no longer using " + name);
            return ActionResult.Success;
        }

        private static string DottedName(UsingCommand command)
        {
            return string.Join(".", command.Name.Parts.ConvertAll<string>(delegate(NamePart part) { return part.Name; }).ToArray());
        }

        public ActionResult Delete(string text)
        {
            DeleteCommand command = Parser.ParseDelete(text);
            if (command.Using != null)
                return StopUsing(command.Using);
            if (!m_instances.Remove(command.Name))
                throw new CommandError(command.Position, "there is no instance '" + command.Name + "'" +
                                                             m_instances.Suggest(command.Name, ""));
            Output.Line("deleted " + command.Name);
            return ActionResult.Success;
        }

        public ActionResult Reset()
        {
            Output.Line("reset: forgot " + Counted(m_instances.Count, "instance") + " and " +
                        Counted(m_assemblies.Loaded.Count, "loaded assembly"));
            m_watches.Clear();
            m_instances.Clear();
            m_assemblies.Forget();
            m_usings.Clear();
            return ActionResult.Success;
        }

        // What the user has made, for a debugger.
        public Dictionary<string, object> InstancesByName()
        {
            Dictionary<string, object> all = new Dictionary<string, object>();
            foreach (string name in m_instances.Names)
                all.Add(name, m_instances.Get(name).Data);
            return all;
        }

        private static string Counted(int count, string noun)
        {
            if (count == 1)
                return "1 " + noun;
            return count + " " + (noun.EndsWith("y", StringComparison.Ordinal) ? noun.Substring(0, noun.Length - 1) + "ies" : noun + "s");
        }

        // Whether the command's new name exists already; says so, and the command is then not carried out.
        private bool IsTaken(ValueCommand command)
        {
            if (command.Name == null || !m_instances.Has(command.Name))
                return false;
            object data = m_instances.Get(command.Name).Data;
            Record(ShownValue.Print("exists: " + command.Name + " = ", data, null, command.Name), null);
            return true;
        }

        private void Keep(ValueCommand command, Value value)
        {
            m_instances.SetLastResult(value);
            LastCommand.Result = value.Data;
            if (command.Name == null)
            {
                Record(ShownValue.Print("=> ", value.Data, value.Type, "$"), null);
                return;
            }
            m_instances.Add(command.Name, value);
            ShowMade(command.Name, value);
        }

        private static void ShowMade(string name, Value value)
        {
            LastCommand.Result = value.Data;
            Record(ShownValue.Print(name + " = ", value.Data, value.Type, name), name);
        }

        private static void Record(ShownValue value, string made)
        {
            if (ResultChannel.Record != null)
                ResultChannel.Record.SetValue(value, made);
        }
    }
}
