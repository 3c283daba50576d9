A=1
B='two'
