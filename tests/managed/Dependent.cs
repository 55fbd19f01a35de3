namespace OrvTest
{
    // Needs another assembly, which lies beside this one.
    public class Dependent
    {
        public string Ask()
        {
            return Helper.Greeting;
        }
    }

    public class DerivedFromHelper : Helper
    {
    }

    public class Independent
    {
        public int Value = 1;
    }
}
