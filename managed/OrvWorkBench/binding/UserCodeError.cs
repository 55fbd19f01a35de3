using System;

namespace OrvWorkBench
{
    // Wraps an exception that the user's own code raised; it is the InnerException.
    [Serializable]
    internal sealed class UserCodeError : Exception
    {
        // The message is not copied: reading it would run user code again.
        public UserCodeError(Exception raised) : base("The user's code raised an exception.", raised)
        {
        }
    }
}
