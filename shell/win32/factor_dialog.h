/// The dialogs that ask for one factor.
#pragma once

namespace imx {

/// Gamma, scale and resample factor of Operations(). Cancel leaves them as they are.
void AskForGamma();
void AskForScaleFactor();
void AskForResampleScale();

}  // namespace imx
