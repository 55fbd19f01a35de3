using System;
using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // What a client that asks is told about each command.
    internal static class ResultsTests
    {
        private static readonly string s_file = Ask();
        private static long s_seen;

        private static string Ask()
        {
            string file = Path.GetTempFileName();
            Environment.SetEnvironmentVariable("ORV_WORKBENCH_RESULTS", file);
            return file;
        }

        // What was told since the last call.
        private static string Told()
        {
            using (FileStream file = new FileStream(s_file, FileMode.Open, FileAccess.Read, FileShare.ReadWrite))
            {
                file.Seek(s_seen, SeekOrigin.Begin);
                s_seen = file.Length;
                return new StreamReader(file).ReadToEnd();
            }
        }

        private static void Start()
        {
            if (s_file != null)
                Bench.Start();
            Told();
        }

        private static void Tells(string command, string text, string told)
        {
            Bench.Do(command, text);
            Harness.Equal(told + "\n", Told(), command + " " + text);
        }

        public static void AValueIsToldWithTypeAndText()
        {
            Start();
            Tells("create", "s = string('x', 3)",
                  "{\"result\":8,\"made\":\"s\",\"value\":{\"type\":\"string\",\"text\":\"\\\"xxx\\\"\",\"string\":\"xxx\"}}");
            Tells("get", "s.Length", "{\"result\":5,\"value\":{\"type\":\"int\",\"text\":\"3\"}}");
            Tells("invoke", "n = s.IndexOf('y')", "{\"result\":10,\"made\":\"n\",\"value\":{\"type\":\"int\",\"text\":\"-1\"}}");
            Tells("create", "s = string('y', 3)",
                  "{\"result\":9,\"value\":{\"type\":\"string\",\"text\":\"\\\"xxx\\\"\",\"string\":\"xxx\"}}");
            Tells("create", "h = OrvTest.Holder()", "{\"result\":8,\"made\":\"h\",\"value\":{\"type\":\"OrvTest.Holder\",\"text\":null}}");
            Tells("invoke", "System.AppDomain.CurrentDomain.GetData(\"none\")", "{\"result\":10,\"value\":{\"type\":null,\"text\":\"null\"}}");
            Tells("delete", "n", "{\"result\":5}");
            Tells("invoke", "System.GC.Collect()", "{\"result\":10}");
            Tells("reset", "", "{\"result\":5}");
        }

        public static void WhatALineCanBecomeIsTold()
        {
            Start();
            Bench.Do("create", "s = string('x', 3)");
            Told();
            Tells("invoke", "OrvWorkBench.Look.Complete(\"get s.leng\")",
                  "{\"result\":10,\"list\":[{\"at\":\"6\",\"text\":\"Length\",\"kind\":\"property\",\"shown\":\"int Length { get; }\"}]}");
            Tells("invoke", "OrvWorkBench.Look.Complete(\"create d = System.EventHandler(zz\")", "{\"result\":10}");
            Tells("invoke", "OrvWorkBench.Look.Example(\"delete\")", "{\"result\":10,\"list\":[{\"text\":\"delete s\"}]}");
            Tells("invoke", "OrvWorkBench.Look.Value(\" s \")",
                  "{\"result\":10,\"list\":[{\"name\":\"s\",\"type\":\"string\",\"text\":\"\\\"xxx\\\"\"}]}");
            Tells("invoke", "OrvWorkBench.Look.Value(\"s.Substring(9)\")",
                  "{\"result\":10,\"list\":[{\"name\":\"s.Substring(9)\",\"raised\":\"" + Raised(9) + "\"}]}");
        }

        private static string Raised(int start)
        {
            try
            {
                return "xxx".Substring(start);
            }
            catch (ArgumentException error)
            {
                return error.GetType() + ": " + error.Message.Replace("\r\n", " ").Replace('\n', ' ');
            }
        }

        public static void AStringIsToldWhole()
        {
            Start();
            Bench.Do("create", "s = string('x', 2000)");
            string told = Told();
            Harness.True(told.Contains("\"text\":\"\\\"" + new string('x', 500) + "\\\"... (2000 characters)\""), "as it is shown");
            Harness.True(told.EndsWith("\"string\":\"" + new string('x', 2000) + "\"}}\n"), "whole");
            Bench.Do("create", "t = string('x', 1000001)");
            Harness.True(!Told().Contains("\"string\":"), "what is very long is told as it is shown");
        }

        public static void WhatIsNoPlainTextIsOneLineOfJson()
        {
            Start();
            Tells("create", "a = string(\"a\\n\\\"\\\\\\u2028\\u00e9\".ToCharArray())",
                  "{\"result\":8,\"made\":\"a\",\"value\":{\"type\":\"string\",\"text\":\"\\\"a\\\\n\\\\\\\"\\\\\\\\\\\\u2028\u00e9\\\"\"," +
                      "\"string\":\"a\\u000a\\\"\\\\\\u2028\u00e9\"}}");
            Tells("create", "h = string('\\ud800', 1)",
                  "{\"result\":8,\"made\":\"h\",\"value\":{\"type\":\"string\",\"text\":\"\\\"\\\\ud800\\\"\",\"string\":\"\ufffd\"}}");
        }

        public static void AnErrorIsToldWithItsColumn()
        {
            Start();
            Tells("create", "x = No.Such()", "{\"result\":12,\"error\":{\"message\":\"there is no public type 'No.Such'\",\"column\":5}}");
            Tells("load", "/no/such.dll", "{\"result\":11,\"error\":{\"message\":\"there is no file \\\"/no/such.dll\\\"\",\"column\":1}}");
        }

        public static void AnExceptionIsToldWithItsFramesAndCauses()
        {
            Start();
            Bench.Do("create", "f = OrvTest.Failing(\"why\")");
            string told = Told();
            Harness.True(told.StartsWith("{\"result\":13,\"exception\":{\"type\":\"System.ArgumentException\",\"message\":\"why\",\"frames\":[\"at OrvTest.Failing..ctor"), told);
            Harness.True(told.EndsWith("\"causes\":[{\"type\":\"System.InvalidOperationException\",\"message\":\"inner\",\"frames\":[]}]}}\n"), told);
        }

        public static void OutAndRefValuesAreTold()
        {
            Start();
            Bench.Do("invoke", "int.TryParse(\"7\", out seven)");
            Harness.Equal("{\"result\":10,\"value\":{\"type\":\"bool\",\"text\":\"true\"}," +
                              "\"references\":[{\"name\":\"seven\",\"type\":\"int\",\"text\":\"7\"}]}\n",
                          Told(), "out");
        }

        public static void ALoadedAssemblyIsTold()
        {
            Start();
            string file = Path.Combine(Harness.Folder, "Twin.dll");
            Tells("load", file, "{\"result\":6,\"assembly\":{\"name\":\"Twin, Version=0.0.0.0, Culture=neutral, PublicKeyToken=null\",\"file\":\"" + file + "\"}}");
            Tells("load", file, "{\"result\":7,\"assembly\":{\"name\":\"Twin, Version=0.0.0.0, Culture=neutral, PublicKeyToken=null\",\"file\":\"" + file + "\"}}");
        }

        public static void TheBreakpointStepTellsNothing()
        {
            Start();
            CInvoke.OrvBreakPoint("");
            Harness.Equal("", Told(), "told");
        }

        public static void UserCodeCannotAnswerForACommand()
        {
            Start();
            Harness.True(Environment.GetEnvironmentVariable("ORV_WORKBENCH_RESULTS") == null, "the file's name is gone");
            Bench.Do("invoke", "System.Console.WriteLine(\"{\\\"result\\\":5}\")");
            Harness.Equal("{\"result\":10}\n", Told(), "what is printed stays there");
        }

        public static void TheSameIsPrinted()
        {
            Start();
            Bench.Expect("get", "int.MaxValue", 5, "=> int 2147483647");
            Bench.Expect("create", "x = No.Such()", 12, "error at column 5: there is no public type 'No.Such'");
        }
    }
}
