#EXTM3U
#EXTINF:-1,Station
http://m3u.example/stream
