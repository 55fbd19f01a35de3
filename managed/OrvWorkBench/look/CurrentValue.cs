namespace OrvWorkBench
{
    // What an expression gives now, for a client that shows values again and again.
    internal static class CurrentValue
    {
        public static void Print(Surroundings at, string expression)
        {
            Listing list = new Listing();
            string raised;
            try
            {
                Value value = at.ValueOf(expression);
                ShownValue shown = Formatter.ShowWhole(value.Data, value.Type);
                list.Add(expression + " = " + (shown.Value ?? shown.Type), "name", expression, "type", shown.Type, "text", shown.Value);
                return;
            }
            catch (CommandError error)
            {
                raised = error.Message;
            }
            catch (UserCodeError error)
            {
                raised = Guard.NameAndMessage(error.InnerException);
            }
            list.Add(expression + " (" + raised + ")", "name", expression, "raised", raised);
        }
    }
}
