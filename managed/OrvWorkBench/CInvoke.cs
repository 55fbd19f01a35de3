using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Runtime.CompilerServices;
using System.Threading;

namespace OrvWorkBench
{
    // What the workbench calls: one method per command, each taking the command text and returning a result code (0 to
    // 13). No exception leaves any of them. They are called from one thread at a time.
    public static class CInvoke
    {
        private delegate ActionResult Command(string text);
        private delegate ActionResult Step();

        private static readonly object s_lock = new object();
        private static Session s_session;
        private static bool s_isRunning;

        public static int LoadAssembly(string text)
        {
            return Run("load", text ?? "", ActionResult.LoadAssemblyFail, delegate(string t) { return TheSession.Load(t); });
        }

        public static int CreateType(string text)
        {
            return Run("create", text ?? "", ActionResult.CreateTypeFail, delegate(string t) { return TheSession.Create(t); });
        }

        public static int Invoke(string text)
        {
            return Run("invoke", text ?? "", ActionResult.InvokeFail, delegate(string t) { return TheSession.Invoke(t); });
        }

        public static int Delete(string text)
        {
            return Run("delete", text ?? "", ActionResult.Fail, delegate(string t) { return TheSession.Delete(t); });
        }

        // The text is ignored.
        public static int Reset(string text)
        {
            return Run("reset", "", ActionResult.Fail, delegate(string t) { return TheSession.Reset(); });
        }

        public static int GetProperty(string text)
        {
            return Run("get", text ?? "", ActionResult.Fail, delegate(string t) { return TheSession.Get(t); });
        }

        public static int SetProperty(string text)
        {
            return Run("set", text ?? "", ActionResult.Fail, delegate(string t) { return TheSession.Set(t); });
        }

        // Stops in an attached debugger, so that one can see what the last command did: what is known of it is in the local
        // variables here, one frame above the stop. Without a debugger it does nothing. The text is ignored.
        [MethodImpl(MethodImplOptions.NoInlining | MethodImplOptions.NoOptimization)]
        public static int OrvBreakPoint(string text)
        {
            if (!Debugger.IsAttached || Look.WasAsked)
                return (int)ActionResult.Success;
            string command = LastCommand.Text;
            ActionResult outcome = LastCommand.Outcome;
            object target = LastCommand.Target;
            object result = LastCommand.Result;
            Exception exception = LastCommand.Exception;
            Dictionary<string, object> instances = null;
            try
            {
                instances = TheSession.InstancesByName();
                Debugger.Break();
            }
            catch (Exception error)
            {
                // A debugger can have the thread aborted, or the variables exhaust the memory.
                if (error is ThreadAbortException)
                    Guard.TakeBackAbort();
            }
            // Until here none of them may be taken for unused.
            Keep(command, outcome, target, result, exception, instances);
            return (int)ActionResult.Success;
        }

        private static void Keep(params object[] values)
        {
            GC.KeepAlive(values);
        }

        private static Session TheSession
        {
            get
            {
                if (s_session == null)
                    s_session = new Session();
                return s_session;
            }
        }

        private static int Run(string name, string text, ActionResult failure, Command command)
        {
            return Guarded(failure, delegate() {
                ActionResult result = failure;
                LastCommand.Begin(name, text);
                Look.WasAsked = false;
                ResultChannel.Begin();
                Witness.Begin();
                try
                {
                    result = RunCommand(text, failure, command);
                }
                finally
                {
                    Witness.End();
                    LastCommand.Outcome = result;
                    ResultChannel.End(result);
                }
                return result;
            });
        }

        // Whatever escapes, even printing the failure failed; there is nothing else to try.
        private static int Guarded(ActionResult failure, Step step)
        {
            ActionResult result = failure;
            Guard.Run(delegate() {
                lock (s_lock)
                {
                    result = RunOne(failure, step);
                }
            });
            return (int)result;
        }

        // Code that a command calls may have found its way back here; it does not get another command.
        private static ActionResult RunOne(ActionResult failure, Step step)
        {
            if (s_isRunning)
            {
                Output.Line("error: a command is being carried out already");
                return failure;
            }
            s_isRunning = true;
            try
            {
                return step();
            }
            finally
            {
                s_isRunning = false;
            }
        }

        private static ActionResult RunCommand(string text, ActionResult failure, Command command)
        {
            try
            {
                Output.Prepare();
                return command(text);
            }
            catch (CommandError error)
            {
                return Refuse(text, error, failure);
            }
            catch (UserCodeError error)
            {
                CommandError refused = error.InnerException as CommandError;
                if (refused != null)
                    return Refuse("", refused, failure);
                Tell(Raised(error));
                return ActionResult.Exception;
            }
            catch (Exception error)
            {
                Output.Line("error: the command failed unexpectedly");
                Tell(error);
                return failure;
            }
        }

        private static ActionResult Refuse(string text, CommandError error, ActionResult failure)
        {
            LastCommand.Exception = error;
            // What is asked in a question has its place in the question.
            int position = text.Length == 0 ? -1 : error.Position;
            CommandErrorReport.Show(text, position, error.Message);
            if (ResultChannel.Record != null)
                ResultChannel.Record.SetError(error.Message, position);
            return error.Result ?? failure;
        }

        // A question calls the user's code too.
        private static Exception Raised(UserCodeError error)
        {
            UserCodeError inner = error.InnerException as UserCodeError;
            return inner == null ? error.InnerException : inner.InnerException;
        }

        private static void Tell(Exception error)
        {
            LastCommand.Exception = error;
            RaisedException raised = new RaisedException(error);
            ExceptionReport.Show(raised);
            if (ResultChannel.Record != null)
                ResultChannel.Record.SetRaised(raised);
        }
    }
}
