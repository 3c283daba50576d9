[playlist]
NumberOfEntries=1
File1=http://crlf.example/stream
Title1=T
Length1=-1
Version=2
