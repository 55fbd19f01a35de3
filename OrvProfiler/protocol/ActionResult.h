#pragma once

#include <cstdint>

// What every managed method answers. Values below ActionSuccess are failures; that the last three count as successes,
// whatever their names say, is deliberate and binding.
enum ActionResult : int32_t
{
    ActionEventUnknown = 0,
    ActionInvokeFail = 1,
    ActionLoadAssemblyFail = 2,
    ActionCreateTypeFail = 3,
    ActionFail = 4,
    ActionSuccess = 5,
    ActionLoadedAssemblyOk = 6,
    ActionAssemblyExists = 7,
    ActionCreatedType = 8,
    ActionTypeExists = 9,
    ActionInvokedOk = 10,
    ActionAssemblyNotFound = 11,
    ActionTypeNotFound = 12,
    ActionException = 13,
};

// The names that the log prints, by value.
inline constexpr const wchar_t* c_actionResultNames[] = {
    L"ActionEventUnknown", L"ActionInvokeFail", L"ActionLoadAssemblyFail", L"ActionCreateTypeFail",
    L"ActionFail",         L"ActionSuccess",    L"ActionLoadedAssemblyOk", L"ActionAssemblyExists",
    L"ActionCreatedType",  L"ActionTypeExists", L"ActionInvokedOk",        L"ActionAssemblyNotFound",
    L"ActionTypeNotFound", L"Exception",
};
