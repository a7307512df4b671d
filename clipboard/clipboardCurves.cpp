#include "clipboard/clipboardKit.h"
#include "keelanim/clipboard/clipboard.h"

TclipboardCurves::~TclipboardCurves()
{
    clear();
}

void TclipboardCurves::clear()
{
    keel_clipboard::clearSlots(fCurves);
    fCount = 0;
    fCopiedStart = TtimeValue();
    fCopiedEnd = TtimeValue();
}

void TclipboardCurves::took(unsigned count, TtimeValue const& copiedStart, TtimeValue const& copiedEnd)
{
    fCount = count <= TparamCurve::kMaxClipboardCurves ? count : 0;
    fCopiedStart = copiedStart;
    fCopiedEnd = copiedEnd;
}

unsigned TclipboardCurves::copyRange(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                                     TparamCurve::TcopyOption option)
{
    clear();
    unsigned const count = curve.copyKeysInRange(start, end, option, fCurves);
    took(count, start, end);
    return count;
}

unsigned TclipboardCurves::cutRange(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                                    TparamCurve::TcutOption option)
{
    clear();
    unsigned const count = curve.cutKeysInRange(start, end, option, fCurves);
    // A cut without keys to copy may still have cut: only filled slots count.
    took(fCurves[0] != nullptr ? count : 0, start, end);
    return count;
}

unsigned TclipboardCurves::pasteOnto(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                                     TparamCurve::TpasteOption option, TpasteSettings settings) const
{
    if (fCount == 0) {
        return 0;
    }
    settings.fCopiedStart = &fCopiedStart;
    settings.fCopiedEnd = &fCopiedEnd;
    return curve.paste(start, end, fCount, fCurves, option, settings);
}
