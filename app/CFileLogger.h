#pragma once
#include <wx/file.h>
#include <wx/log.h>

// The run's diagnostic log: one time-stamped line per record, flushed at once, so the
// file is complete whenever the working folder is zipped. It never logs its own failures.
class CFileLogger : public wxLog
{
public:
    // Takes ownership of `previous` (may be null). With `passOn`, errors, warnings and
    // messages also reach `previous`; higher levels always go there only.
    CFileLogger(const wxString& path, wxLog* previous, bool passOn);
    ~CFileLogger() override;

    // Everything written so far, "\n"-terminated, plus a note if the file had to be closed.
    const wxString& GetText() const { return m_text; }

protected:
    void DoLogRecord(wxLogLevel level, const wxString& msg, const wxLogRecordInfo& info) override;

private:
    wxLog* m_previous;
    wxString m_path;
    wxString m_text;
    wxFile m_file;
    bool m_passOn;
};
