#pragma once

#include <cstddef>
#include <cstdint>

namespace orvan {

// The engine parameters. Each enumerator is the parameter's code; the values
// index kTevParameterCodes.
enum TevParameter {
    VOL, PSTG, PREG, PLB, NGON, DEON, DEA, DED, VMB, DVME,
    DVMC, DVLE, DVLA, DVLI, DVLO, DVLC, IEON, IEA, AROD, ARTP,
    GEON, AOON, VCNB, VCBF, VER, IEBS, ARDS, ARON, ARDE, ARSA,
    ARBS, ARTI, DOM, DSB, GEBS, BEON, BEB, BECF, BEW, VBON,
    VBM, VBSF, VBOG, VBSG, VBHG, VBMF, VBBG, VBCT, VBHM, VBHB,
    VBMX, VBRG, AOBS, MSCE, MIEE, MDLE, MDEE, MAVE, VCBS, VNBS,
    DMC, DHFM, DFSA, DSA, DHSA, SVSB, CEON, CEQT, DPLP, MVBE,
    RSSE, RSSA, IEID, DRCM, HPON, HPTW, HPAT, HPAA, HPAR, BMDE,
    BMDT, RVSE, RVSA, VSSD,
};

constexpr size_t kTevParameterCount = 84;

// Indexed by TevParameter.
extern const char* const kTevParameterCodes[kTevParameterCount];

// The id the engine parameter store knows a code by: the lower-cased
// characters packed from the least significant byte up. 0 for a code that is
// null, empty or longer than four characters.
int32_t tevParameterId(const char* code);
int32_t tevParameterId(TevParameter parameter);

// The parameter with that store id, or -1 when no parameter has it.
int tevParameterFromId(int32_t id);

}  // namespace orvan
