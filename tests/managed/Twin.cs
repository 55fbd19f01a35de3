namespace OrvTest
{
    // A type of the same name as the test library's.
    public class Twin
    {
        public static string Assembly()
        {
            return typeof(Twin).Assembly.GetName().Name;
        }
    }
}
