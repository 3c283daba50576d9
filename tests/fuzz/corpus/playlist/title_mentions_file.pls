[playlist]
Title1=File of the week
File1=http://real.example/stream
