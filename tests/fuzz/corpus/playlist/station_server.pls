[playlist]
numberofentries=1
File1=http://127.0.0.1:18651/stream/75853
Title1=Jazz 1 Network
Length1=-1
Version=2
