# What differs from run to run in the output of the program, replaced by something that does not.
s/threadid = [0-9]*/threadid = ID/
s/^\(20[^ ]* [^ ]*Z\( [^ []*\)\{0,1\}\) \[[0-9]*\]/\1 [ID]/
s/^process   [0-9]*$/process   ID/
s/longest wait  [0-9.]* [mu]\{0,1\}s/longest wait  N s/
s/^  [0-9]* operations a sec/  N operations a sec/
s/^chain [0-9]*-/chain PID-/
s/"id":"[0-9]*-/"id":"PID-/
s/"parent":"[0-9]\{1,\}-/"parent":"PID-/
