#ifndef OM_TEXTURE3_LOOK_UP_H
#define OM_TEXTURE3_LOOK_UP_H

// The lookups that Texture3::tex3D() chooses from. Those of many points return the bits that lookUp() returns.

#include "render/omRenderShader.h"

namespace OmRenderShader
{

/// Looks up one point.
vecT3<float> lookUp(const Texture3& texture, const vecT3<float>& coords);

/// Looks up many points, on any processor.
void lookUpManyPortable(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count);

#if defined(__x86_64__)
/// Whether the processor has what lookUpManyAvx2() needs: AVX2 and FMA.
bool hasAvx2();
/// Looks up many points, in vectors of four components.
void lookUpManyAvx2(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count);

/// Whether the processor has what lookUpManyAvx512() needs: AVX-512 F, VL and DQ.
bool hasAvx512();
/// Looks up many points, in vectors of eight components. Needs hasAvx2() too.
void lookUpManyAvx512(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count);
#endif

} // namespace OmRenderShader

#endif
