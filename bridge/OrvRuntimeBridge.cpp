// The Unix half of the bridge: hosts Debian's Mono inside a Wine process.
//
// Mono scans the stack of every thread that it knows, and a Wine thread's stack is not one that it could have made;
// nor can Wine's functions run on a thread that Wine did not make. So all Mono calls are made on one plain pthread,
// while the Wine thread that asked waits, and everything that concerns Wine stays in the Windows half.

#include "bridge/OrvRuntimeBridge.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h> // NOLINT(modernize-deprecated-headers): sigset_t is not the language's
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <mono/jit/jit.h>
#include <mono/metadata/appdomain.h>
#include <mono/metadata/assembly.h>
#include <mono/metadata/attrdefs.h>
#include <mono/metadata/mono-config.h>
#include <mono/metadata/mono-debug.h>
#include <mono/metadata/reflection.h>
#include <mono/metadata/threads.h>
#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr int32_t Status(uint32_t value)
{
    return static_cast<int32_t>(value);
}

constexpr int32_t c_ok = 0;
constexpr int32_t c_runtimeMissing = Status(0x80131700);
constexpr int32_t c_badImage = Status(0x8007000B);
constexpr int32_t c_fileMissing = Status(0x80070002);
constexpr int32_t c_loadRefused = Status(0x80131621);
constexpr int32_t c_typeMissing = Status(0x80131522);
constexpr int32_t c_methodMissing = Status(0x80131513);
constexpr int32_t c_exception = Status(0x80131500);

// Managed code recurses deeper than the default of a thread that has no main program.
constexpr size_t c_stackBytes = 16U << 20;

struct Request
{
    const char* applicationBase = nullptr;
    const char* configFile = nullptr;
    const char* workingFolder = nullptr;
    const char* assemblyPath = nullptr;
    const char* typeName = nullptr;
    const char* methodName = nullptr;
    const char16_t* argument = nullptr;
    uint32_t returnValue = 0;
    int32_t status = c_ok;
    bool done = false;
};

pthread_mutex_t g_callers = PTHREAD_MUTEX_INITIALIZER; // held by the one caller whose request is under way
pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;   // guards g_request and Request::done
pthread_cond_t g_changed = PTHREAD_COND_INITIALIZER;
Request* g_request = nullptr;
bool g_threadRuns = false;
MonoDomain* g_domain = nullptr; // the runtime thread's own

// The options that Mono's own program takes from the environment; the one for a debugger is what they are good for
// here.
void ParseOptions()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else changes the environment of this half
    const char* const text = getenv("MONO_ENV_OPTIONS");
    std::istringstream words(text == nullptr ? "" : text);
    std::vector<std::string> options{std::istream_iterator<std::string>(words), {}};
    std::vector<char*> arguments;
    arguments.reserve(options.size());
    for (std::string& option : options)
        arguments.push_back(option.data());
    mono_jit_parse_options(static_cast<int>(arguments.size()), arguments.data());
}

int32_t StartRuntime(const Request& request)
{
    if (g_domain != nullptr)
        return c_ok;
    // Mono's default way of stopping threads for a collection aborts on threads that wait in foreign code.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): as above
    setenv("MONO_THREADS_SUSPEND", "preemptive", 1);
    // Mono's own helper library looks up Mono's functions among the process's global ones, but Wine loads libraries
    // with their symbols kept local.
    dlopen("libmonosgen-2.0.so.1", RTLD_NOW | RTLD_GLOBAL | RTLD_NOLOAD);
    // Faults in foreign code are Wine's to handle.
    mono_set_signal_chaining(1);
    mono_config_parse(nullptr);
    if (access(request.configFile, R_OK) == 0)
        mono_config_parse(request.configFile);
    ParseOptions();
    mono_debug_init(MONO_DEBUG_FORMAT_MONO);
    g_domain = mono_jit_init_version("OrvRuntimeBridge", "v4.0.30319");
    if (g_domain == nullptr)
        return c_runtimeMissing;
    // A debugger that attaches late is told first of the main thread, and gives up when nobody has named one.
    mono_thread_set_main(mono_thread_current());
    mono_domain_set_config(g_domain, request.applicationBase, request.configFile);
    return c_ok;
}

int32_t HResultOf(MonoObject* exception)
{
    for (MonoClass* type = mono_object_get_class(exception); type != nullptr; type = mono_class_get_parent(type))
    {
        MonoProperty* const property = mono_class_get_property_from_name(type, "HResult");
        if (property == nullptr)
            continue;
        MonoObject* failure = nullptr;
        MonoObject* const value = mono_property_get_value(property, exception, nullptr, &failure);
        if (value == nullptr || failure != nullptr)
            break;
        const int32_t status = *static_cast<int32_t*>(mono_object_unbox(value));
        return status < 0 ? status : c_exception;
    }
    return c_exception;
}

int32_t StatusOfOpen(MonoImageOpenStatus status)
{
    if (status == MONO_IMAGE_IMAGE_INVALID)
        return c_badImage;
    return status == MONO_IMAGE_ERROR_ERRNO ? c_fileMissing : c_loadRefused;
}

MonoClass* FindType(MonoImage* image, const char* typeName)
{
    std::string name = typeName; // the parser writes into it
    MonoType* const type = name.empty() ? nullptr : mono_reflection_type_from_name(name.data(), image);
    if (type == nullptr || mono_type_get_type(type) != MONO_TYPE_CLASS)
        return nullptr;
    MonoClass* const found = mono_class_from_mono_type(type);
    // A name that the assembly does not have is looked up in the core library too, which is not what was asked.
    return mono_class_get_image(found) == image ? found : nullptr;
}

bool IsIntOfString(MonoMethod* method)
{
    if ((mono_method_get_flags(method, nullptr) & MONO_METHOD_ATTR_STATIC) == 0)
        return false;
    MonoMethodSignature* const signature = mono_method_signature(method);
    if (signature == nullptr || mono_signature_get_param_count(signature) != 1)
        return false;
    void* iterator = nullptr;
    MonoType* const parameter = mono_signature_get_params(signature, &iterator);
    MonoType* const result = mono_signature_get_return_type(signature);
    return mono_type_get_type(parameter) == MONO_TYPE_STRING && mono_type_is_byref(parameter) == 0 &&
           mono_type_get_type(result) == MONO_TYPE_I4 && mono_type_is_byref(result) == 0;
}

MonoMethod* FindMethod(MonoClass* type, const std::string& name)
{
    void* iterator = nullptr;
    while (MonoMethod* const method = mono_class_get_methods(type, &iterator))
    {
        if (name == mono_method_get_name(method) && IsIntOfString(method))
            return method;
    }
    return nullptr;
}

MonoString* ManagedText(const char16_t* text)
{
    if (text == nullptr)
        return nullptr;
    return mono_string_new_utf16(g_domain, reinterpret_cast<const mono_unichar2*>(text),
                                 static_cast<int32_t>(std::char_traits<char16_t>::length(text)));
}

int32_t Execute(Request& request)
{
    // The thread has a current directory of its own (see RuntimeThread), so this moves managed code only.
    if (chdir(request.workingFolder) != 0)
        return c_fileMissing;
    MonoImageOpenStatus opened = MONO_IMAGE_OK;
    MonoAssembly* const assembly = mono_assembly_open(request.assemblyPath, &opened);
    if (assembly == nullptr)
        return StatusOfOpen(opened);
    MonoClass* const type = FindType(mono_assembly_get_image(assembly), request.typeName);
    if (type == nullptr)
        return c_typeMissing;
    MonoMethod* const method = FindMethod(type, request.methodName);
    if (method == nullptr)
        return c_methodMissing;
    void* arguments[] = {ManagedText(request.argument)};
    MonoObject* exception = nullptr;
    MonoObject* const result = mono_runtime_invoke(method, nullptr, arguments, &exception);
    if (exception != nullptr)
        return HResultOf(exception);
    if (result == nullptr)
        return c_exception;
    request.returnValue = *static_cast<uint32_t*>(mono_object_unbox(result));
    return c_ok;
}

void Serve(Request& request)
{
    if (request.applicationBase != nullptr)
        request.status = StartRuntime(request);
    else
        request.status = Execute(request);
}

[[noreturn]] void* RuntimeThread(void*)
{
    // A current directory apart from Wine's threads: Wine's own file look-ups must not notice ours.
    unshare(CLONE_FS);
    pthread_mutex_lock(&g_mutex);
    for (;;)
    {
        while (g_request == nullptr)
            pthread_cond_wait(&g_changed, &g_mutex);
        Request& request = *g_request;
        g_request = nullptr;
        pthread_mutex_unlock(&g_mutex);
        Serve(request);
        pthread_mutex_lock(&g_mutex);
        request.done = true;
        pthread_cond_broadcast(&g_changed);
    }
}

bool StartThread()
{
    // Wine's handlers for signals that the kernel may give to any thread need a Wine thread: keep them off ours and
    // off the threads that managed code starts from it.
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    for (const int number : {SIGINT, SIGHUP, SIGTERM, SIGCHLD, SIGALRM, SIGUSR1, SIGUSR2, SIGQUIT})
        sigaddset(&blocked, number);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, c_stackBytes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    const bool started = pthread_create(&thread, &attributes, RuntimeThread, nullptr) == 0;
    pthread_attr_destroy(&attributes);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

void Ask(Request& request)
{
    pthread_mutex_lock(&g_callers);
    if (!g_threadRuns)
        g_threadRuns = StartThread();
    if (g_threadRuns)
    {
        pthread_mutex_lock(&g_mutex);
        g_request = &request;
        pthread_cond_broadcast(&g_changed);
        while (!request.done)
            pthread_cond_wait(&g_changed, &g_mutex);
        pthread_mutex_unlock(&g_mutex);
    }
    else
        request.status = c_runtimeMissing;
    pthread_mutex_unlock(&g_callers);
}
} // namespace

void OrvBridgeSetVariable(const char* name, const char* value)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else changes the environment of this half
    setenv(name, value, 1);
}

int32_t OrvBridgeStart(const char* applicationBase, const char* configFile)
{
    Request request;
    request.applicationBase = applicationBase;
    request.configFile = configFile;
    Ask(request);
    return request.status;
}

int32_t OrvBridgeExecute(const char* workingFolder, const char* assemblyPath, const char* typeName,
                         const char* methodName, const char16_t* argument, uint32_t* returnValue)
{
    Request request;
    request.workingFolder = workingFolder;
    request.assemblyPath = assemblyPath;
    request.typeName = typeName;
    request.methodName = methodName;
    request.argument = argument;
    Ask(request);
    if (request.status == c_ok)
        *returnValue = request.returnValue;
    return request.status;
}

int32_t OrvBridgeCatchOutput(int32_t descriptor)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    const bool caught = dup2(ends[1], descriptor) >= 0 && fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0;
    close(ends[1]);
    if (caught)
        return ends[0];
    close(ends[0]);
    return -1;
}

void OrvBridgeAwaitOutput(int32_t source)
{
    pollfd waiting{source, POLLIN, 0};
    while (poll(&waiting, 1, -1) < 0 && errno == EINTR)
    {
    }
}

int32_t OrvBridgeTakeOutput(int32_t source, char* bytes, int32_t size)
{
    ssize_t taken = 0;
    do
        taken = read(source, bytes, static_cast<size_t>(size));
    while (taken < 0 && errno == EINTR);
    return taken > 0 ? static_cast<int32_t>(taken) : 0;
}
