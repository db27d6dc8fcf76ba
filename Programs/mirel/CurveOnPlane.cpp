#include <Programs/mirel/PlaneCurveMemo.h>

#include <BRep_Tool.hxx>

#include <dlfcn.h>

namespace {

using mirel::PlaneCurveMemo;

// OpenCASCADE's own, which is behind the program's in the order in which the loader looks.
PlaneCurveMemo::Project FindOriginal() {
  Dl_info own = {};
  dladdr(reinterpret_cast<void*>(&BRep_Tool::CurveOnPlane), &own);
  return reinterpret_cast<PlaneCurveMemo::Project>(dlsym(RTLD_NEXT, own.dli_sname));
}

}  // namespace

// In the place of OpenCASCADE's, for all who call it in this process, as the program's allocator is in the place of malloc: the loader
// takes the first function of a name, and the program is the first to be asked.
Handle(Geom2d_Curve) BRep_Tool::CurveOnPlane(const TopoDS_Edge& edge, const Handle(Geom_Surface) & surface,
                                             const TopLoc_Location& place, Standard_Real& first,
                                             Standard_Real& last) {
  static const PlaneCurveMemo::Project original = FindOriginal();
  return PlaneCurveMemo::Get(edge, surface, place, first, last, original);
}
