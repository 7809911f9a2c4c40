#pragma once

namespace tour {

/// The style sheet of the report: light or dark as the reader's system is, and one column on a
/// telephone.
extern const char reportStyle[];

} // namespace tour
