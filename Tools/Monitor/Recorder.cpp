// Recorder.cpp - messages as events.

#include "Tools/Monitor/Recorder.h"

#include "Tools/Common/PortExtras.h"
#include "Tools/Common/Text.h"
#include "Tools/Common/Time.h"
#include "Tools/Monitor/Arguments.h"

#include <cstdio>

namespace Monitor {

void Recorder::Open(const std::string& file)
{
    mFile = file;
    mWriter.emplace(file, Recording::Title{});
}

void Recorder::Take(SInt32 id, const UInt8* data, std::size_t size, SInt32 sender)
{
    if (!mWriter) {
        return;
    }
    Recording::Event event = {};
    event.isMessage = true;
    event.isDone = true;
    event.nanoseconds = Tools::GetTime();
    event.id = id;
    event.sender = sender;
    event.senderName = Tools::GetProgramName(sender);
    event.data.assign(data, data + size);
    event.dataSize = static_cast<UInt32>(size);
    mWriter->Write(++mNumber, event);
}

int Recorder::ShowFailure() const
{
    std::fprintf(stderr, "qxmon: cannot write %s: %s\n", Tools::EscapeControls(mFile).c_str(),
                 mWriter->GetFailure().c_str());
    return kExitUnwritten;
}

} // namespace Monitor
