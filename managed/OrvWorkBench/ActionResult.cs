namespace OrvWorkBench
{
    // What every method of the dispatcher returns. Below 5 the workbench reports failure, from 5 on success: the split
    // is the protocol's, whatever the names of 11 to 13 say.
    internal enum ActionResult
    {
        EventUnknown = 0,
        InvokeFail = 1,
        LoadAssemblyFail = 2,
        CreateTypeFail = 3,
        Fail = 4,
        Success = 5,
        LoadedAssemblyOk = 6,
        AssemblyExists = 7,
        CreatedType = 8,
        TypeExists = 9,
        InvokedOk = 10,
        AssemblyNotFound = 11,
        TypeNotFound = 12,
        Exception = 13
    }
}
