#include "CFileLogger.h"

#include <wx/convauto.h>
#include <wx/datetime.h>

namespace
{
const wxChar* Marker(wxLogLevel level)
{
    switch (level)
    {
    case wxLOG_FatalError: return wxT(" !!! ");
    case wxLOG_Error: return wxT(" ! ");
    case wxLOG_Warning: return wxT(" - ");
    default: return wxT("   ");
    }
}

wxString TimeOf(const wxLogRecordInfo& info)
{
    return wxDateTime(static_cast<time_t>(info.timestamp)).FormatISOTime();
}
} // namespace

CFileLogger::CFileLogger(const wxString& path, wxLog* previous, bool passOn)
    : m_previous(previous), m_path(path), m_passOn(passOn)
{
    wxLogNull quiet;
    if (!m_file.Open(m_path, wxFile::write_append, wxS_DEFAULT))
        m_file.Create(m_path, true, wxS_DEFAULT);
}

CFileLogger::~CFileLogger()
{
    if (m_previous)
    {
        delete m_previous;
        m_previous = nullptr;
    }
    wxLogNull quiet;
    m_file.Close();
}

void CFileLogger::DoLogRecord(wxLogLevel level, const wxString& msg, const wxLogRecordInfo& info)
{
    wxLogNull quiet;
    if (level > wxLOG_Message)
    {
        if (m_previous)
            m_previous->LogRecord(level, msg, info);
        return;
    }
    if (m_passOn && m_previous)
        m_previous->LogRecord(level, msg, info);

    wxString line;
    if (level != wxLOG_Message || !msg.empty())
        line = TimeOf(info) + Marker(level) + msg;
    m_text += line + wxT("\n");

    if (!m_file.IsOpened())
        return;
    if (m_file.Write(line + wxT("\r\n"), wxConvAuto()))
    {
        m_file.Flush();
    }
    else if (m_file.IsOpened())
    {
        m_file.Close();
        m_text += TimeOf(info) + wxT(" ! Can't write to log file. Closing file");
    }
}
