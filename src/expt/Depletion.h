#pragma once

#include "expt/PVTzEXPA.h"

namespace kestrane {

// Experiments that take out part of a phase at every stage.

/// All gas is taken out.
class PVTzDFLG final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// All liquid is taken out.
class PVTzDFLL final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Gas is taken out down to the basis volume.
class PVTzCVDG final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Liquid is taken out down to the basis volume.
class PVTzCVDL final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Gas is taken out down to the basis moles.
class PVTzCMDG final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Liquid is taken out down to the basis moles.
class PVTzCMDL final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Gas is taken out down to the basis mass.
class PVTzCWDG final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Liquid is taken out down to the basis mass.
class PVTzCWDL final : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};

}  // namespace kestrane
