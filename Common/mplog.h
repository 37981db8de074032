#pragma once
// Log records that name their source explicitly: the module, line and function that
// support engineers know a message by, independent of where the code sits in this tree.
#include <wx/log.h>

#define MP_LOG_AT(level, module, line, func)                          \
    if (!wxLog::IsLevelEnabled(level, wxASCII_STR(wxLOG_COMPONENT))) \
    {                                                                  \
    }                                                                  \
    else                                                               \
        wxLogger(level, module, line, func, wxLOG_COMPONENT).Log

// For messages whose line is not part of their identity.
#define MP_LOG(level, module, func) MP_LOG_AT(level, module, __LINE__, func)
