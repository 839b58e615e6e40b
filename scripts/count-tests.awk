# The tests of a log of ctest (LastTest.log), by what GoogleTest says at the end of each entry:
# "PASSED FAILED SKIPPED". Another program is one test; so is a suite that failed without saying which
# test did (it crashed, or took too long).
function count() {
  if (!inside) return
  passed += ok
  failed += bad
  skipped += left
  if (entryPassed && !ok && !bad && !left) passed++
  if (!entryPassed && !bad) failed++
}
/^[0-9]+\/[0-9]+ Test: / { count(); inside = 1; ok = bad = left = entryPassed = 0 }
/^\[  PASSED  \] [0-9]+ test/ { ok = $4 }
/^\[  FAILED  \] [0-9]+ test.*listed below:$/ { bad = $4 }
/^\[  SKIPPED \] [0-9]+ test.*listed below:$/ { left = $4 }
/^Test Passed\.$/ { entryPassed = 1 }
END { count(); print passed + 0, failed + 0, skipped + 0 }
