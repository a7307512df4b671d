#pragma once

#include "curve/detail/editRecorder.h"
#include "keelanim/undo/curveDelta.h"

KEEL_DECLARE_METACLASS(TPCDkeyTangents);

// The tangents that an edit re-derived from the tangent types, before and
// after. Replaying a step does not re-derive tangents: this record puts them
// back exactly, whatever the rules would give now.
class TPCDkeyTangents : public TparamCurveDelta {
    KEEL_TYPED(TPCDkeyTangents)

public:
    // Keeps a copy of the journal's entries.
    TPCDkeyTangents(TparamCurve* curve, TtangentJournal const& journal);

    bool undo() override;
    bool redo() override;

private:
    bool apply(bool before);
    TtangentJournal fJournal;
};
