NumberOfEntries=1
File http://no-equals.example/
File2=http://second/
