// Test double: the COM-style types of the Core Foundation plug-in model, as the platform defines them.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef SInt32 HRESULT;
typedef UInt32 ULONG;
typedef void* LPVOID;
typedef CFUUIDBytes REFIID;

#define S_OK ((HRESULT)0x00000000L)
#define E_NOINTERFACE ((HRESULT)0x80000004L)
#define STDMETHODCALLTYPE

#define IUNKNOWN_C_GUTS                                                                        \
    void* _reserved;                                                                           \
    HRESULT(STDMETHODCALLTYPE* QueryInterface)(void* thisPointer, REFIID iid, LPVOID* ppv);     \
    ULONG(STDMETHODCALLTYPE* AddRef)(void* thisPointer);                                       \
    ULONG(STDMETHODCALLTYPE* Release)(void* thisPointer)
