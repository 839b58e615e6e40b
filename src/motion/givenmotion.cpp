#include "motion/givenmotion.h"

namespace mirel {

std::string nameOf(MotionProgram program) {
  switch (program) {
    case MotionProgram::fsl:
      return "FSL";
    case MotionProgram::spm:
      return "SPM";
    case MotionProgram::afni:
      return "AFNI";
    case MotionProgram::itk:
      break;
  }
  return "ITK";
}

MotionProgram programOf(MotionForm form) {
  switch (form) {
    case MotionForm::fslMatrices:
    case MotionForm::fslParameters:
      return MotionProgram::fsl;
    case MotionForm::spmParameters:
      return MotionProgram::spm;
    case MotionForm::afniMatrices:
      return MotionProgram::afni;
    case MotionForm::itkText:
    case MotionForm::found:
      break;
  }
  return MotionProgram::itk;
}

}  // namespace mirel
