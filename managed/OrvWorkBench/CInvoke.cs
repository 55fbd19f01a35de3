using System;
using System.Diagnostics;

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
            return Run(text, ActionResult.LoadAssemblyFail, delegate(string t) { return TheSession.Load(t); });
        }

        public static int CreateType(string text)
        {
            return Run(text, ActionResult.CreateTypeFail, delegate(string t) { return TheSession.Create(t); });
        }

        public static int Invoke(string text)
        {
            return Run(text, ActionResult.InvokeFail, delegate(string t) { return TheSession.Invoke(t); });
        }

        public static int Delete(string text)
        {
            return Run(text, ActionResult.Fail, delegate(string t) { return TheSession.Delete(t); });
        }

        // The text is ignored.
        public static int Reset(string text)
        {
            return Run("", ActionResult.Fail, delegate(string t) { return TheSession.Reset(); });
        }

        public static int GetProperty(string text)
        {
            return Run(text, ActionResult.Fail, delegate(string t) { return TheSession.Get(t); });
        }

        public static int SetProperty(string text)
        {
            return Run(text, ActionResult.Fail, delegate(string t) { return TheSession.Set(t); });
        }

        // Stops in an attached debugger, so that one can see what the last command did; without a debugger it does
        // nothing. The text is ignored.
        public static int OrvBreakPoint(string text)
        {
            return Guarded(ActionResult.Fail, delegate() {
                if (Debugger.IsAttached && !Look.WasAsked)
                    Debugger.Break();
                return ActionResult.Success;
            });
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

        private static int Run(string text, ActionResult failure, Command command)
        {
            return Guarded(failure, delegate() {
                ActionResult result = failure;
                Look.WasAsked = false;
                ResultChannel.Begin();
                try
                {
                    result = RunCommand(text ?? "", failure, command);
                }
                finally
                {
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
            RaisedException raised = new RaisedException(error);
            ExceptionReport.Show(raised);
            if (ResultChannel.Record != null)
                ResultChannel.Record.SetRaised(raised);
        }
    }
}
