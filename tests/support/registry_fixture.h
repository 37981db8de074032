#pragma once
// A fresh key below HKLM\SOFTWARE for each test, deleted with everything in it afterwards.
#include "test_support.h"

#include <windows.h>

#include <string>

class RegistryFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        static int counter = 0;
        m_path = wxString::Format("SOFTWARE\\MpdiagTest%lu_%d", ::GetCurrentProcessId(), ++counter);
        ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, m_path.wc_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    &m_key, nullptr),
                  ERROR_SUCCESS);
    }
    void TearDown() override
    {
        ::RegCloseKey(m_key);
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, m_path.wc_str());
    }

    // Creates `sub` below the test key and sets one value in it.
    void SetValue(const wxString& sub, const wxString& name, DWORD type, const void* data, DWORD size)
    {
        HKEY key = nullptr;
        ASSERT_EQ(::RegCreateKeyExW(m_key, sub.wc_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        ASSERT_EQ(::RegSetValueExW(key, name.wc_str(), 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
        ::RegCloseKey(key);
    }
    void MakeKey(const wxString& sub)
    {
        HKEY key = nullptr;
        ASSERT_EQ(::RegCreateKeyExW(m_key, sub.wc_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        ::RegCloseKey(key);
    }

    wxString m_path;
    HKEY m_key = nullptr;
};
