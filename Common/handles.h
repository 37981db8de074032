#pragma once
// Move-only owners of Win32 handles. Each traits type names the handle's empty value
// honestly (INVALID_HANDLE_VALUE or NULL, as the creating API reports failure) and its
// close call, so a handle is wrapped on the line that creates it and closed on every path.
#include <windows.h>

template <typename Traits>
class UniqueHandle
{
public:
    using Handle = typename Traits::Handle;

    UniqueHandle() noexcept : m_handle(Traits::Empty()) {}
    explicit UniqueHandle(Handle handle) noexcept : m_handle(handle) {}
    ~UniqueHandle() { Reset(); }

    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        if (this != &other)
            Reset(other.Release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    bool IsValid() const noexcept { return m_handle != Traits::Empty(); }
    explicit operator bool() const noexcept { return IsValid(); }
    Handle Get() const noexcept { return m_handle; }

    Handle Release() noexcept
    {
        Handle handle = m_handle;
        m_handle = Traits::Empty();
        return handle;
    }

    void Reset(Handle handle = Traits::Empty()) noexcept
    {
        if (IsValid())
            Traits::Close(m_handle);
        m_handle = handle;
    }

private:
    Handle m_handle;
};

// Files, pipes and devices: CreateFileW fails with INVALID_HANDLE_VALUE.
struct FileHandleTraits
{
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { ::CloseHandle(handle); }
};
using UniqueFile = UniqueHandle<FileHandleTraits>;

// Processes, threads and events: their creators fail with NULL.
struct KernelHandleTraits
{
    using Handle = HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { ::CloseHandle(handle); }
};
using UniqueKernelHandle = UniqueHandle<KernelHandleTraits>;

// FindFirstFileW / FindFirstFileExW searches.
struct FindHandleTraits
{
    using Handle = HANDLE;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { ::FindClose(handle); }
};
using UniqueFind = UniqueHandle<FindHandleTraits>;

// Registry keys: RegOpenKey* leaves NULL behind on failure.
struct RegKeyTraits
{
    using Handle = HKEY;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { ::RegCloseKey(handle); }
};
using UniqueRegKey = UniqueHandle<RegKeyTraits>;

// The two handles CreateProcessW hands back, each owned.
struct ProcessHandles
{
    UniqueKernelHandle process;
    UniqueKernelHandle thread;
    explicit ProcessHandles(const PROCESS_INFORMATION& info) : process(info.hProcess), thread(info.hThread) {}
};
