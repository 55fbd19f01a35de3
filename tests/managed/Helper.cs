namespace OrvTest
{
    public class Helper
    {
        public static string Greeting = "from the helper";
    }
}
